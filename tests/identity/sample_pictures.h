#pragma once

/// \file
/// The pictures of models/shapes/demo.

#include <opencv2/core.hpp>

#include <vector>

namespace brellix::testing {

/// All of them, 8-bit BGR, in a fixed order. Throws `std::runtime_error` where one cannot be read.
std::vector<cv::Mat> samplePictures();

}  // namespace brellix::testing
