#pragma once

/// \file
/// The keys that the configuration files of all models share.

#include <yaml-cpp/yaml.h>
#include <opencv2/core.hpp>

#include <string>

namespace ai_orvo::model {

/// The shared keys' values, as the file gives them: nothing is range-checked.
struct ModelConfig {
    std::string modelPath;
    float confThres;
    float nmsThres;
    int classNum;
    cv::Size inputSize;
};

/// Reads the YAML file at `path`. The keys are read in a fixed order; the first fault is the one reported.
/// \throws YAML::BadFile, YAML::InvalidNode, YAML::BadConversion, std::out_of_range.
ModelConfig readModelConfig(const std::string& path);

/// \return the network input from "input_size": width, then height, each narrowed to 32 bits.
cv::Size readInputSize(const YAML::Node& root);

}  // namespace ai_orvo::model
