#pragma once

/// \file
/// The mask prototypes of a frame.

#include "brellix/yolov8_seg.h"

#include <opencv2/core.hpp>

namespace ai_orvo::model {

/// \return one prototype a row; those that the tensor does not hold are 0.
///
/// A float tensor that holds them all is used where it lies.
/// \param memory holds the others; has to live as long as the matrix.
cv::Mat prototypesOf(const YOLOv8Seg& model, const AIBuff& proto, AIBuff& memory);

}  // namespace ai_orvo::model
