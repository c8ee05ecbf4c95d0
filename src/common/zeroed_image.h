#pragma once

/// \file
/// Images full of zeros in memory that is used again.

#include <opencv2/core.hpp>

namespace ai_orvo::model {

/// \return a zero matrix of one channel of bytes.
///
/// Masks are as large as the picture, there are many of them, and all go at once: an ordinary allocator gives
/// their pages back to the system after every frame, and taking them anew costs more than all the rest. The
/// memory of large masks is kept when they are released, up to 128 MiB in the process, and cleared when it is
/// used again. A matrix is released like any other, on any thread.
cv::Mat zeroedImage(const cv::Size& size);

}  // namespace ai_orvo::model
