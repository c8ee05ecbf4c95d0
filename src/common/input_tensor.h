#pragma once

/// \file
/// From an image to the tensor that the network takes.

#include "brellix/ai_engine.h"
#include "brellix/letterbox.h"

#include <opencv2/core.hpp>

namespace ai_orvo::model {

/// Order of the colour planes that the network expects; images come as BGR.
enum class ChannelOrder { kBgr, kRgb };

/// A tensor, and how the image was letterboxed for it.
struct InputTensor {
    alg::common::AIBuff tensor;
    LetterboxInfo letterbox;
};

/// Letterboxes the image. \return float32, 1 x 3 x height x width, scaled to 0..1.
/// \throws cv::Exception as `letterbox` does.
InputTensor floatInput(const cv::Mat& image, const cv::Size& target, ChannelOrder order);

/// Letterboxes the image. \return its bytes, row by row. The type says float32 all the same: an engine tells
/// the two input forms apart by their size.
/// \throws cv::Exception as `letterbox` does.
InputTensor byteInput(const cv::Mat& image, const cv::Size& target);

}  // namespace ai_orvo::model
