#pragma once

/// \file
/// The files of the sample networks.

#include <string>
#include <vector>

namespace brellix::testing {

/// Path of a file of models/shapes.
std::string shapesFile(const std::string& name);

/// Paths of the held-out pictures, in the order of models/shapes/truth.json. \throws std::exception where
/// that is not what it should be.
std::vector<std::string> shapesPictureFiles();

/// Text of a configuration of models/shapes with `model_path` made absolute and the thresholds that average
/// precision is measured with: a confidence so low that precision is known over all of recall.
std::string shapesConfig(const std::string& name);

}  // namespace brellix::testing
