#pragma once

/// \file
/// Ground truth in YOLO's form.

#include "evaluation/ground_truth.h"

#include <string>
#include <vector>

namespace brellix::app {

/// Reads a folder of pictures with label files beside them, or a folder with the parallel trees images/ and
/// labels/, or either with a data.yaml, or such a file itself. Throws `Failure`.
GroundTruth readYoloTruth(const std::string& path);

/// Turns labels into the objects of a picture of `size` pixels.
void placeLabels(const std::vector<YoloLabel>& labels, const Dataset& dataset, cv::Size size,
                 TruthPicture& picture);

}  // namespace brellix::app
