#pragma once

/// \file
/// Images that are zero without having been written.

#include <opencv2/core.hpp>

namespace ai_orvo::model {

/// \return a zero matrix of one channel of bytes.
///
/// A mask is as large as the picture and mostly zero: its pages come from the kernel, which zeroes each when
/// it is first touched, so that what nobody writes or reads costs neither time nor memory. A small one is an
/// ordinary matrix. Either is released like any other `cv::Mat`.
cv::Mat zeroedImage(const cv::Size& size);

}  // namespace ai_orvo::model
