#pragma once

/// \file
/// Conversions between floats and integers with the same result on every processor.
///
/// A plain conversion of NaN or of a value outside the target's range is undefined; x86 and Arm really do
/// give different integers. Here NaN becomes 0 and the rest saturates, as the target's own instruction does.

#include <opencv2/core.hpp>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace ai_orvo::model {

inline constexpr float kIntLimit = 2147483648.0F;  // 2^31, the first float beyond int

/// `value` truncated toward zero.
inline int truncateToInt(float value) {
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= kIntLimit) {
        return std::numeric_limits<int>::max();
    }
    if (value < -kIntLimit) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(value);
}

/// `value` truncated toward zero to a whole number of pixels, which a box stores as float. Never -0.
inline float wholePixels(float value) {
    return static_cast<float>(truncateToInt(value));
}

/// `value` rounded to nearest, ties to even.
inline int roundToInt(float value) {
    return truncateToInt(std::nearbyint(value));
}

/// Each of x, y, width and height rounded to nearest, ties to even.
inline cv::Rect_<int> roundToInt(const cv::Rect_<float>& rect) {
    return {roundToInt(rect.x), roundToInt(rect.y), roundToInt(rect.width), roundToInt(rect.height)};
}

/// The low 32 bits of `value` as a signed integer.
inline int narrowToInt(std::int64_t value) {
    return static_cast<int>(static_cast<std::uint32_t>(value));
}

/// The sum's low 32 bits as a signed integer.
template <typename... Terms>
int wrappingSum(Terms... terms) {
    return static_cast<int>((std::uint32_t{0} + ... + static_cast<std::uint32_t>(terms)));
}

/// The product's low 32 bits as a signed integer.
template <typename... Factors>
int wrappingProduct(Factors... factors) {
    return static_cast<int>((std::uint32_t{1} * ... * static_cast<std::uint32_t>(factors)));
}

/// Width times height, which the product of two `int` need not hold.
inline std::size_t areaOf(const cv::Size& size) {
    return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
}

/// `value` held inside [0, bound]; what is not greater than 0, NaN included, becomes 0.
inline float clampToBound(float value, float bound) {
    if (!(value > 0.0F)) {
        return 0.0F;
    }
    return value < bound ? value : bound;
}

}  // namespace ai_orvo::model
