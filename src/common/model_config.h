#pragma once

/// \file
/// The configuration keys of the detectors.

#include <yaml-cpp/yaml.h>
#include <opencv2/core.hpp>

#include <string>

namespace ai_orvo::model {

/// The keys' values, as the file gives them: nothing is range-checked.
struct ModelConfig {
    std::string modelPath;
    float confThres;
    float nmsThres;
    int classNum;
    cv::Size inputSize;
};

/// Reads the YAML file at `path`. The keys are read in a fixed order; the first fault is the one reported.
/// \throws what the path constructor of `YOLOv5` does.
ModelConfig readModelConfig(const std::string& path);

/// What `node.as<float>()` is where the process has set no locale. yaml-cpp reads in that of the process,
/// where a threshold of "0.450" may be 450.
/// \throws what `as` does.
float floatOf(const YAML::Node& node);

}  // namespace ai_orvo::model
