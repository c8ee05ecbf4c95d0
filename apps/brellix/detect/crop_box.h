#pragma once

/// \file
/// Which pixels an object's crop has, and what its file is called.

#include "sources/frame.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <string>

namespace brellix::app {

/// \return the pixels that the box touches, cut off at the picture's edges; an empty box where it touches
///         none, or is none itself (not a number, no size).
cv::Rect cropBox(const cv::Rect2f& box, cv::Size picture);

/// \return for example "photo_0_2_traffic-light.jpg": the source's name, the frame's number (of a video or
///         stream with leading zeros), the object's place in the list, its class.
std::string cropName(const std::string& stem, const FrameId& frame, std::size_t index,
                     const std::string& className);

}  // namespace brellix::app
