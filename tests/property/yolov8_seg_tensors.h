#pragma once

/// \file
/// A small YOLOv8Seg, random outputs for it, and one of its heads decoded by it and by the reference.

#include "property/random.h"
#include "reference/seg_boxes.h"
#include "reference/seg_objects.h"

#include "brellix/yolov8_seg.h"

#include <gtest/gtest.h>
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

/// All ten tensors, float or 8-bit as the settings say; a few dozen cells hold a candidate.
ai_orvo::model::TensorMap randomSegOutputs(Random& random, const reference::SegSettings& settings);

/// The tensors and dimensions of one head; copies of the buffers share their bytes.
struct SegHeadCase {
    ai_orvo::model::AIBuff box;
    ai_orvo::model::AIBuff score;
    ai_orvo::model::AIBuff maskCoef;
    int gridH;
    int gridW;
    int stride;
    int dflLen;
};

/// Append a head's candidates to `found`, from tensors of the kind and by the threshold of `settings`.
/// \return how many.
int decodeSegHead(ai_orvo::model::YOLOv8Seg& model, const reference::SegSettings& settings, SegHeadCase& head,
                  reference::SegCandidates& found);
int decodeSegHeadPlainly(const reference::SegSettings& settings, const SegHeadCase& head,
                         reference::SegCandidates& found);

/// The same candidates in the same order.
::testing::AssertionResult sameCandidates(const reference::SegCandidates& actual,
                                          const reference::SegCandidates& expected);

/// The prototype matrix from a tensor of the kind of `settings`, by the model and by the reference.
cv::Mat prototypesOf(ai_orvo::model::YOLOv8Seg& model, const reference::SegSettings& settings,
                     ai_orvo::model::AIBuff& proto);
cv::Mat prototypesPlainly(const reference::SegSettings& settings, const ai_orvo::model::AIBuff& proto);

}  // namespace brellix::testing
