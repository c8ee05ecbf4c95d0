#pragma once

/// \file
/// Overlap and non-maximum suppression.

#include "brellix/cv_model.h"
#include "brellix/export.h"

#include <opencv2/core.hpp>

#include <vector>

namespace ai_orvo::model {

/// Intersection over union of two boxes in integer pixels, `x + width` exclusive.
/// \return 0 to 1; 0 where the boxes only touch or the union is not positive. Extreme rectangles do not
///         overflow.
BRELLIX_API float iou(cv::Rect_<int> a, cv::Rect_<int> b);

/// Greedy suppression inside each class: an object goes when its overlap with a more probable one of the
/// same label is strictly greater than `nms_thresh`. Boxes are rounded to whole pixels (ties to even) first.
///
/// \param objects    replaced by the kept ones: labels ascending, within a label by falling probability.
///                   The order among equal probabilities is not fixed; NaN probabilities come last.
/// \param nms_thresh overlap threshold; a negative one suppresses boxes that do not touch, too.
BRELLIX_API void nms(std::vector<Object>& objects, float nms_thresh);

}  // namespace ai_orvo::model
