#pragma once

/// \file
/// The held-out pictures of the sample networks and their ground truth.

#include "support/average_precision.h"

#include <string>
#include <vector>

namespace brellix::testing {

struct ShapesDataset {
    std::vector<std::string> pictures;  ///< paths; `ScoredBox::image` is an index into this list
    std::vector<ScoredBox> truth;
    std::vector<cv::Mat> masks;  ///< of the truth: 8-bit, as large as the picture, 0 or 255
};

/// Reads models/shapes/truth.json. \throws std::exception where it is not what it should be.
ShapesDataset readShapesDataset();

/// Path of a file of models/shapes.
std::string shapesFile(const std::string& name);

/// Text of a configuration of models/shapes with `model_path` made absolute and the thresholds that average
/// precision is measured with: a confidence so low that precision is known over all of recall.
std::string shapesConfig(const std::string& name);

}  // namespace brellix::testing
