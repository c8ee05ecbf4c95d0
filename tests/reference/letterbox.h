#pragma once

/// \file
/// Letterboxing, step by step.

#include "brellix/letterbox.h"

#include <opencv2/core.hpp>

namespace brellix::reference {

/// As `ai_orvo::model::letterbox`.
ai_orvo::model::LetterboxInfo letterbox(const cv::Mat& src, cv::Mat& dst, const cv::Size& target);

}  // namespace brellix::reference
