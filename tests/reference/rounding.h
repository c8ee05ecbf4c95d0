#pragma once

/// \file
/// Conversions from float to int that mean the same on every processor.

#include <opencv2/core.hpp>

namespace brellix::reference {

/// Toward zero; beyond the range of int the nearest int; NaN gives 0.
int truncateTowardZero(float value);

/// Half away from zero; beyond the range of int the nearest int; NaN gives 0.
int roundHalfAwayFromZero(float value);

/// To nearest, ties to even; beyond the range of int the nearest int; NaN gives 0.
int roundToNearest(float value);

/// Each value of the box rounded to nearest.
cv::Rect wholePixelBox(const cv::Rect_<float>& box);

/// Not greater than 0 gives 0 (so does NaN); not less than `bound` gives `bound`.
float limitToRange(float value, float bound);

}  // namespace brellix::reference
