#include "quantization/quantization.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <opencv2/core/hal/intrin.hpp>

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

/// `stepsFromZero` of four values at once, and the zero point added.
class QuadQuantizer {
  public:
    explicit QuadQuantizer(AffineGrid grid)
        : scale_(cv::v_setall_f32(grid.scale)),
          lowest_(cv::v_setall_f32(kLowestStep - static_cast<float>(grid.zeroPoint))),
          highest_(cv::v_setall_f32(kHighestStep - static_cast<float>(grid.zeroPoint))),
          zeroPoint_(cv::v_setall_s32(grid.zeroPoint)) {}

    cv::v_int32x4 operator()(const float* values) const {
        const cv::v_float32x4 steps = cv::v_load(values) / scale_;
        // Only NaN differs from itself; all its bits become 0.
        const cv::v_float32x4 finite = steps & (steps == steps);  // NOLINT(misc-redundant-expression)
        return cv::v_round(cv::v_min(cv::v_max(finite, lowest_), highest_)) + zeroPoint_;
    }

  private:
    cv::v_float32x4 scale_;
    cv::v_float32x4 lowest_;
    cv::v_float32x4 highest_;
    cv::v_int32x4 zeroPoint_;
};

constexpr std::size_t kQuad = 4;

}  // namespace

ValueRange finiteRange(const float* values, std::size_t count) {
    constexpr float kLargest = std::numeric_limits<float>::max();
    const cv::v_float32x4 largest = cv::v_setall_f32(kLargest);
    cv::v_float32x4 minima = largest;
    cv::v_float32x4 maxima = cv::v_setall_f32(-kLargest);
    std::size_t i = 0;
    for (; i + kQuad <= count; i += kQuad) {
        const cv::v_float32x4 quad = cv::v_load(values + i);
        const cv::v_float32x4 finite = cv::v_abs(quad) <= largest;
        minima = cv::v_min(minima, cv::v_select(finite, quad, minima));
        maxima = cv::v_max(maxima, cv::v_select(finite, quad, maxima));
    }
    ValueRange range{cv::v_reduce_min(minima), cv::v_reduce_max(maxima)};
    for (; i < count; ++i) {
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
    const QuadQuantizer quad(grid);
    std::size_t i = 0;
    for (; i + 4 * kQuad <= count; i += 4 * kQuad) {
        const cv::v_int16x8 front = cv::v_pack(quad(values + i), quad(values + i + kQuad));
        const cv::v_int16x8 back = cv::v_pack(quad(values + i + 2 * kQuad), quad(values + i + 3 * kQuad));
        cv::v_store(quantized + i, cv::v_pack(front, back));
    }
    for (; i < count; ++i) {
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
