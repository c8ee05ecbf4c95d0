#pragma once

/// \file
/// From an image to the tensor that the network takes.

#include "brellix/ai_engine.h"
#include "brellix/letterbox.h"

#include <opencv2/core.hpp>

namespace ai_orvo::model {

/// Order of the colour planes that the network expects; images come as BGR.
enum class ChannelOrder { kBgr, kRgb };

/// Letterboxes the image. \return float32, 1 x 3 x height x width, scaled to 0..1.
/// \param info how the image was letterboxed; set even where the conversion after it fails.
/// \throws cv::Exception as `letterbox` does, and for depths that no blob is made of.
alg::common::AIBuff floatInput(const cv::Mat& image, const cv::Size& target, ChannelOrder order,
                               LetterboxInfo& info);

/// Letterboxes the image. \return its bytes, row by row. The type says float32 all the same: an engine tells
/// the two input forms apart by their size.
/// \param info how the image was letterboxed; set even where the copy after it fails.
/// \throws cv::Exception as `letterbox` does.
alg::common::AIBuff byteInput(const cv::Mat& image, const cv::Size& target, LetterboxInfo& info);

}  // namespace ai_orvo::model
