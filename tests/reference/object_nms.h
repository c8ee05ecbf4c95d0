#pragma once

/// \file
/// Overlap of whole-pixel boxes and suppression inside each class.

#include "brellix/cv_model.h"

#include <opencv2/core.hpp>

#include <vector>

namespace brellix::reference {

/// As `ai_orvo::model::iou`.
float iou(const cv::Rect& a, const cv::Rect& b);

/// The kept ones of `objects`. Equal probabilities keep their order here.
std::vector<ai_orvo::model::Object> keepGreedily(const std::vector<ai_orvo::model::Object>& objects,
                                                 float threshold);

}  // namespace brellix::reference
