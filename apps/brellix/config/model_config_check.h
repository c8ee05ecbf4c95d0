#pragma once

/// \file
/// Checking a configuration before a model is built from it.
///
/// A constructor answers a bad configuration with a bare exception, with a network that silently does not
/// work, or by ending the process with status 0. So everything that can be known beforehand is checked
/// here, and said in words that tell what to write instead.

#include "console/finding.h"
#include "network/expected_tensors.h"
#include "network/model_class.h"
#include "network/network_facts.h"

#include <yaml-cpp/yaml.h>
#include <opencv2/core.hpp>

#include <optional>
#include <string>

namespace brellix::app {

/// A model as the command line asks for it.
struct ModelRequest {
    std::string config;                  ///< path of the configuration file
    std::string modelClass;              ///< the option --model; empty for none
    std::optional<float> confThreshold;  ///< in place of "conf_thres"
    std::optional<float> nmsThreshold;   ///< in place of "nms_thres"
    bool usesCalibration = true;         ///< false: the file beside the network has no say
};

/// The values of a configuration, each of a kind that the constructors read.
struct ModelConfig {
    std::string path;     ///< of the configuration file, as given
    YAML::Node document;  ///< its content, with the thresholds that were asked for instead
    std::string model;    ///< the key "model", empty where the file has none
    ModelClass modelClass = ModelClass::kYoloV5;
    std::string networkPath;           ///< where the network file was found
    bool networkIsBesideFile = false;  ///< found only relative to the configuration's own folder
    bool isOverridden = false;         ///< `document` differs from the file
    float confThreshold = 0.0F;
    float nmsThreshold = 0.0F;
    cv::Size inputSize;  ///< of the network, in pixels
    int classNum = 0;
    std::string framework;     ///< of the segmentation model
    bool isQuantized = false;  ///< likewise
};

/// A configuration with what was found out while it was read.
struct CheckedConfig {
    ModelConfig config;
    NetworkFacts network;
    bool modelClassIsKnown = true;  ///< false: an error among `findings` says why
    Findings findings;              ///< values that a model cannot work with, or hardly
};

/// Reads the file of `request` and the network that it names. Throws `Failure` (wrong use) that names the
/// file, the line, the key, what was found, what was expected, and an example, for a file that no model can
/// be built from.
CheckedConfig checkModelConfig(const ModelRequest& request);

/// \return what the model's tensors follow from.
ModelSettings settingsOf(const ModelConfig& config);

/// \return the path with the line of the key, or the path alone where the file lacks it.
std::string placeOf(const ModelConfig& config, const char* key);

}  // namespace brellix::app
