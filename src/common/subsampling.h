#pragma once

/// \file
/// Resizing where the result takes every third (fifth, ...) pixel.

#include <opencv2/core.hpp>

namespace ai_orvo::model {

/// The odd whole factor of at least 3 by which `result` is smaller than an 8-bit image of three channels in
/// both directions; 0 where there is none.
///
/// Bilinear interpolation then meets a pixel exactly, the middle one of each square, and gives its value: so
/// nothing has to be interpolated. 1920 x 1080 in a network of 640 x 640 is such a case.
int subsamplingFactor(const cv::Mat& image, const cv::Size& result);

/// The first pixel of line `y` of the result; the others follow `factor` pixels apart.
inline const uchar* subsampledLine(const cv::Mat& image, int factor, int y) {
    return image.ptr(factor * y + factor / 2, factor / 2);
}

/// Takes the pixels of `result`, which has the image's type and a size with a factor.
void subsample(const cv::Mat& image, int factor, cv::Mat& result);

}  // namespace ai_orvo::model
