#pragma once

/// \file
/// Pictures for tests, and comparing them.

#include <opencv2/core.hpp>

namespace brellix::testing {

/// A picture of uniform noise, the same for the same size.
inline cv::Mat noisePicture(int width, int height) {
    cv::Mat image(height, width, CV_8UC3);
    cv::RNG(7).fill(image, cv::RNG::UNIFORM, 0, 256);
    return image;
}

/// Whether size, type and every value agree.
inline bool sameBytes(const cv::Mat& a, const cv::Mat& b) {
    return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0.0;
}

}  // namespace brellix::testing
