#pragma once

/// \file
/// Network outputs that hold a chosen number of objects.

#include "brellix/cv_model.h"
#include "brellix/letterbox.h"

#include <opencv2/core.hpp>

#include <yaml-cpp/yaml.h>

#include <string>

namespace brellix::bench {

constexpr int kInput = 640;  ///< width and height of the network's input
constexpr int kClasses = 80;

/// The record of a picture's letterboxing into the network's input.
ai_orvo::model::LetterboxInfo letterboxOf(const cv::Size& picture);

/// A picture of noise.
cv::Mat picture(const cv::Size& size);

/// A fused output [1, 25200, 85] with `candidates` rows above a threshold of 0.25, around 33 an object at
/// most.
ai_orvo::model::AIBuff fusedOutput(int candidates);

/// Where candidates lie: around objects, as a trained network has them, or each by itself.
enum class Placement { kAroundObjects, kScattered };

/// The three int8 heads of the cut network with `candidates` candidates, around 30 an object at most.
ai_orvo::model::TensorMap cutOutputs(int candidates, Placement placement);

/// Low enough that the candidates of a small object, side by side, leave one.
constexpr float kSegmentationNms = 0.45F;

/// A configuration of the segmentation network.
YAML::Node segmentationConfig(bool isQuantized, const std::string& framework);

/// What a mask's outline is made of: smooth, as a trained network has it (a tenth of the logits under a box
/// have neighbours of another sign), or noise, where hardly any two neighbours agree.
enum class Prototypes { kSmooth, kNoise };

/// The ten outputs of the segmentation network with `objects` objects and `repeats` candidates each, side by
/// side; boxes of 1/200 to 1/4 of the input, 1/25 in the median, each of a class of its own as far as they
/// go.
ai_orvo::model::TensorMap segmentationOutputs(int objects, int repeats, bool isQuantized,
                                              Prototypes prototypes = Prototypes::kSmooth);

}  // namespace brellix::bench
