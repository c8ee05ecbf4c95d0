#pragma once

/// \file
/// Detections in COCO's result form, for any other evaluation.

#include "eval/eval_run.h"
#include "files/sink.h"

namespace brellix::app {

/// Writes an array of objects with "image_id", "category_id", "bbox", "score" and, from a model that makes
/// masks, "segmentation" (compressed run lengths). The numbers are the ones that were measured, bit by bit.
void writeDetections(const Dataset& dataset, const Detections& detections, Sink& sink);

}  // namespace brellix::app
