#pragma once

/// \file
/// Reading masks that are written as COCO's compressed run lengths.

#include <opencv2/core.hpp>

#include <string>

namespace brellix::testing {

/// \return the mask of `size`, 255 inside the object. Throws `std::runtime_error` for a text whose runs do
/// not fill it exactly.
cv::Mat decodeCocoMask(const std::string& counts, cv::Size size);

}  // namespace brellix::testing
