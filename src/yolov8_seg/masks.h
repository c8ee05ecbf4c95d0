#pragma once

/// \file
/// From mask coefficients and prototypes to one mask an object.

#include "brellix/yolov8_seg.h"

#include <opencv2/core.hpp>

#include <vector>

namespace ai_orvo::model {

/// Sets the masks of the first objects, one a row of `coefficients`.
/// \param model        sizes and the letterbox record of the image.
/// \param coefficients rows of `maskCoefCount` floats, not more than there are objects.
/// \param prototypes   `maskCoefCount` rows of `protoHeight` x `protoWidth` floats.
/// \throws cv::Exception for a network input that is not square, unless the letterbox border leaves a region
///         that fits all the same (its mask is skewed), and where a box leaves the image.
void assembleMasks(const YOLOv8Seg& model, const cv::Mat& coefficients, const cv::Mat& prototypes,
                   std::vector<Object>& objects);

}  // namespace ai_orvo::model
