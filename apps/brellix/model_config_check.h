#pragma once

/// \file
/// Checking a configuration before a model is built from it.
///
/// A constructor answers a bad configuration with a bare exception, with a network that silently does not
/// work, or by ending the process with status 0. So everything that can be known beforehand is checked
/// here, and said in words that tell what to write instead.

#include "model_class.h"

#include <yaml-cpp/yaml.h>
#include <opencv2/core.hpp>

#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

/// A model as the command line asks for it.
struct ModelRequest {
    std::string config;                  ///< path of the configuration file
    std::string modelClass;              ///< the option --model; empty for none
    std::optional<float> confThreshold;  ///< in place of "conf_thres"
    std::optional<float> nmsThreshold;   ///< in place of "nms_thres"
};

/// A configuration that the constructors will accept.
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
    bool isQuantized = false;           ///< the key "is_quantized" of the segmentation model
    std::vector<std::string> warnings;  ///< what is allowed but hardly meant
};

/// Reads and checks the file of `request`. Throws `Failure` (wrong use) that names the file, the line, the
/// key, what was found, what was expected, and an example.
ModelConfig checkModelConfig(const ModelRequest& request);

}  // namespace brellix::app
