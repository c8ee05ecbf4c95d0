#pragma once

/// \file
/// Images that are zero without having been written.

#include <opencv2/core.hpp>

namespace ai_orvo::model {

/// \return a zero matrix of one channel of bytes.
///
/// Masks are as large as the picture, there are many of them, and they are mostly zero: large ones are pages
/// from the kernel, which clears each when it is first touched, so that what nobody writes or reads costs
/// neither time nor memory. A small mask is an ordinary matrix. Either is released like any other, on any
/// thread.
/// \param writtenLines lines of the image that are about to be written, as far as it has them; their pages are
///                     taken at once.
cv::Mat zeroedImage(const cv::Size& size, const cv::Range& writtenLines);

}  // namespace ai_orvo::model
