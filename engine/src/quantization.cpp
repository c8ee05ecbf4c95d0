#include "quantization.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ai_orvo::alg::common {
namespace {

constexpr float kLowestStep = -128.0F;
constexpr float kHighestStep = 127.0F;

/// A range so narrow that a step would vanish keeps the smallest normal step.
float stepSize(double extent, double steps) {
    return std::max(static_cast<float>(extent / steps), std::numeric_limits<float>::min());
}

/// Steps from the zero point, rounded and limited so that adding the zero point stays within int8.
///
/// Clamping before rounding gives the same step as after it, since both bounds are whole numbers.
float stepsFromZero(float value, AffineGrid grid) {
    const auto zeroPoint = static_cast<float>(grid.zeroPoint);
    const float steps = value / grid.scale;
    const float finite = std::isnan(steps) ? 0.0F : steps;
    return std::nearbyint(std::clamp(finite, kLowestStep - zeroPoint, kHighestStep - zeroPoint));
}

}  // namespace

ValueRange finiteRange(const float* values, std::size_t count) {
    constexpr float kLargest = std::numeric_limits<float>::max();
    ValueRange range{kLargest, -kLargest};
    for (std::size_t i = 0; i < count; ++i) {
        if (std::fabs(values[i]) <= kLargest) {
            range.minimum = std::min(range.minimum, values[i]);
            range.maximum = std::max(range.maximum, values[i]);
        }
    }
    return range.minimum <= range.maximum ? range : ValueRange{};
}

AffineGrid affineGrid(ValueRange range) {
    const double low = std::min(static_cast<double>(range.minimum), 0.0);
    const double high = std::max(static_cast<double>(range.maximum), 0.0);
    if (low == high) {
        return {};
    }
    const float scale = stepSize(high - low, 255.0);
    const double zeroPoint = std::nearbyint(-128.0 - low / static_cast<double>(scale));
    return {scale, static_cast<std::int32_t>(std::clamp(zeroPoint, -128.0, 127.0))};
}

AffineGrid symmetricGrid(ValueRange range) {
    const float bound = std::max(std::fabs(range.minimum), std::fabs(range.maximum));
    if (bound == 0.0F) {
        return {};
    }
    return {stepSize(static_cast<double>(bound), 127.0), 0};
}

void quantize(const float* values, std::size_t count, AffineGrid grid, std::int8_t* quantized) {
    for (std::size_t i = 0; i < count; ++i) {
        const auto steps = static_cast<std::int32_t>(stepsFromZero(values[i], grid));
        quantized[i] = static_cast<std::int8_t>(steps + grid.zeroPoint);
    }
}

void snapToGrid(float* values, std::size_t count, AffineGrid grid) {
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = stepsFromZero(values[i], grid) * grid.scale;
    }
}

}  // namespace ai_orvo::alg::common
