#pragma once

/// \file
/// Scaling an image into the network's input without distortion.

#include "brellix/export.h"

#include <opencv2/core.hpp>

namespace ai_orvo::model {

/// How an image was letterboxed, and so how boxes are mapped back:
/// srcX = (netX - dw) * ratio, srcY = (netY - dh) * ratio, lengths * ratio.
struct LetterboxInfo {
    float ratio;       ///< 1 / scale: source pixels per network pixel
    float dw;          ///< horizontal padding on each side in network pixels, before rounding
    float dh;          ///< vertical padding on each side in network pixels, before rounding
    float src_height;  ///< rows of the source image
    float src_width;   ///< columns of the source image
};

/// Scales `src` by the largest factor that fits into `target` (bilinear), centres it and pads with grey 114
/// (a fourth channel with 0). An odd padding puts the extra pixel at the bottom and on the right.
///
/// \param src    image of any depth and channel count that `cv::resize` takes; a submatrix is padded as if
///               nothing lay around it.
/// \param dst    receives an image of exactly `target` size; may be the same matrix as `src`.
/// \param target width and height of the network input in pixels; not modified.
/// \return the record needed to map boxes back to source pixels.
/// \throws cv::Exception for a source that is empty or has more than two dimensions, for sizes of 10^9 and
///         more, and where the scaled image has no pixels left (2000 x 1 into 640 x 640).
///
/// Safe to call from several threads.
BRELLIX_API LetterboxInfo letterbox(const cv::Mat& src, cv::Mat& dst, cv::Size& target);

}  // namespace ai_orvo::model
