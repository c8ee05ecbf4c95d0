#include "reference/quantization.h"

#include "reference/rounding.h"

#include <cmath>

namespace brellix::reference {

int clip(float value, float low, float high) {
    float chosen = value;
    if (value <= low) {
        chosen = low;
    } else if (value >= high) {
        chosen = high;
    }
    return truncateTowardZero(chosen);
}

float sigmoid(float logit) {
    const float e = std::exp(-logit);
    return static_cast<float>(1.0 / (static_cast<double>(e) + 1.0));
}

float unsigmoid(float probability) {
    const auto odds = static_cast<float>(1.0 / static_cast<double>(probability) - 1.0);
    return -std::log(odds);
}

int quantize(float value, int zeroPoint, float scale) {
    const float steps = value / scale;
    return clip(steps + static_cast<float>(zeroPoint), -128.0F, 127.0F);
}

float dequantize(std::int8_t q, int zeroPoint, float scale) {
    return (static_cast<float>(q) - static_cast<float>(zeroPoint)) * scale;
}

}  // namespace brellix::reference
