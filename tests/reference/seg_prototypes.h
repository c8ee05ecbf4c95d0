#pragma once

/// \file
/// Prototype masks as a matrix of one prototype a row.

#include "brellix/cv_model.h"

#include <opencv2/core.hpp>

namespace brellix::reference {

/// A `count` x (height * width) float matrix; elements that the tensor does not hold are 0.
cv::Mat prototypesFromFloat(const ai_orvo::model::AIBuff& proto, int count, int height, int width);

/// The same from bytes, the zero point taken off, the scale not applied: only signs matter later.
cv::Mat prototypesFromInt8(const ai_orvo::model::AIBuff& proto, int count, int height, int width);

}  // namespace brellix::reference
