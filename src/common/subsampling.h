#pragma once

/// \file
/// Resizing where the result takes every third (fifth, ...) pixel.

#include <opencv2/core.hpp>

namespace ai_orvo::model {

/// Resizes an 8-bit image of three channels by the same odd whole factor in both directions.
///
/// Bilinear interpolation then meets a pixel exactly, the middle one of each square, and gives its value: so
/// nothing has to be interpolated. 1920 x 1080 in a network of 640 x 640 is such a case.
/// \return whether it was one; `result` is untouched otherwise.
bool subsample(const cv::Mat& image, cv::Mat& result);

}  // namespace ai_orvo::model
