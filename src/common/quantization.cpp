#include "brellix/quantization.h"

#include "common/numeric.h"

#include <cmath>

namespace ai_orvo::model {

int __clip(float val, float min, float max) {
    if (val <= min) {
        return truncateToInt(min);
    }
    return truncateToInt(val >= max ? max : val);
}

float sigmoid(float x) {
    const float exponential = std::exp(-x);
    return static_cast<float>(1.0 / (static_cast<double>(exponential) + 1.0));
}

float unsigmoid(float y) {
    const auto odds = static_cast<float>(1.0 / static_cast<double>(y) - 1.0);
    return -std::log(odds);
}

int qntF32ToAffine(float f, int zp, float scale) {
    return __clip(f / scale + static_cast<float>(zp), -128.0F, 127.0F);
}

float deqntAffineToF32(signed char q, int zp, float scale) {
    return (static_cast<float>(q) - static_cast<float>(zp)) * scale;
}

}  // namespace ai_orvo::model
