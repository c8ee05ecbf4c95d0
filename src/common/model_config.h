#pragma once

/// \file
/// The configuration keys of the detectors.

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

}  // namespace ai_orvo::model
