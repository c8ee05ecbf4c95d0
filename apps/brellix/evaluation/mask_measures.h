#pragma once

/// \file
/// Measures of masks that are run lengths.

#include "masks/run_length.h"

#include <cstdint>
#include <vector>

namespace brellix::app {

/// A mask with what is asked of it over and over.
struct MeasuredMask {
    RunLengths mask;
    std::int64_t area = 0;  ///< pixels inside
    cv::Rect bounds;        ///< the smallest box around them, empty where there are none
};

MeasuredMask measured(RunLengths mask);

/// \return how many pixels are inside both; 0 for masks of different sizes.
std::int64_t intersectionArea(const MeasuredMask& a, const MeasuredMask& b);

/// \return the mask of the pixels that are inside any. All have the size `size`.
RunLengths unionOf(const std::vector<RunLengths>& masks, cv::Size size);

}  // namespace brellix::app
