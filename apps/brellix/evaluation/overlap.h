#pragma once

/// \file
/// How far detections cover ground truth.

#include "evaluation/mask_measures.h"

#include <opencv2/core.hpp>

namespace brellix::app {

/// \return intersection over union, 0 to 1; with a crowd, intersection over the detection's own area.
double boxOverlap(const cv::Rect2d& detection, const cv::Rect2d& truth, bool truthIsCrowd = false);
double maskOverlap(const MeasuredMask& detection, const MeasuredMask& truth, bool truthIsCrowd = false);

}  // namespace brellix::app
