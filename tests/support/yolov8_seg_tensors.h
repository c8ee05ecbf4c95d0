#pragma once

/// \file
/// A small YOLOv8Seg and random outputs for it.

#include "reference/seg_objects.h"
#include "support/random.h"

#include "brellix/yolov8_seg.h"

#include <yaml-cpp/yaml.h>

#include <cstddef>
#include <string>
#include <vector>

namespace brellix::testing {

/// The configuration that gives a model for `settings`.
YAML::Node segConfig(const reference::SegSettings& settings);

/// Sets what a model's decoding reads and its configuration does not say.
void applySettings(ai_orvo::model::YOLOv8Seg& model, const reference::SegSettings& settings);

/// A square network input and an odd picture, letterboxed. Grids and prototypes follow from the input.
reference::SegSettings randomSegSettings(Random& random, bool isQuantized);

/// The same for a picture of a given size.
reference::SegSettings segSettingsFor(const cv::Size& picture, Random& random, bool isQuantized);

/// The same for a network input of a given size, square or not.
reference::SegSettings segSettingsFor(const cv::Size& picture, const cv::Size& input, Random& random,
                                      bool isQuantized);

/// All ten tensors, float or 8-bit as the settings say; a few dozen cells hold a candidate.
ai_orvo::model::TensorMap randomSegOutputs(Random& random, const reference::SegSettings& settings);

}  // namespace brellix::testing
