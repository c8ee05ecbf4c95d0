#include "common/model_config.h"

#include "common/numeric.h"

#include <yaml-cpp/yaml.h>

#include <cstdint>
#include <vector>

namespace ai_orvo::model {

ModelConfig readModelConfig(const std::string& path) {
    // Only a constant node names the key that is missing in its error.
    const YAML::Node root = YAML::LoadFile(path);
    ModelConfig config{};
    config.modelPath = root["model_path"].as<std::string>();
    config.confThres = root["conf_thres"].as<float>();
    config.nmsThres = root["nms_thres"].as<float>();
    config.classNum = root["class_num"].as<int>();
    const auto size = root["input_size"].as<std::vector<std::int64_t>>();
    const int width = narrowToInt(size.at(0));
    const int height = narrowToInt(size.at(1));
    config.inputSize = {width, height};
    return config;
}

}  // namespace ai_orvo::model
