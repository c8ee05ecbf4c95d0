#include "common/model_config.h"

#include "common/numeric.h"

#include <cstdint>
#include <locale>
#include <sstream>
#include <vector>

namespace ai_orvo::model {
namespace {

/// Whether the text is one of YAML's words for what no digits can write.
bool isWordForFloat(const std::string& text) {
    using namespace YAML::conversion;
    return IsInfinity(text) || IsNegativeInfinity(text) || IsNaN(text);
}

}  // namespace

float floatOf(const YAML::Node& node) {
    if (!node.IsScalar() || isWordForFloat(node.Scalar())) {
        return node.as<float>();
    }
    std::stringstream stream(node.Scalar());
    stream.imbue(std::locale::classic());
    float value = 0.0F;
    if (!YAML::conversion::ConvertStreamTo(stream, value)) {
        throw YAML::TypedBadConversion<float>(node.Mark());
    }
    return value;
}

ModelConfig readModelConfig(const std::string& path) {
    // Only a constant node names the key that is missing in its error.
    const YAML::Node root = YAML::LoadFile(path);
    ModelConfig config{};
    config.modelPath = root["model_path"].as<std::string>();
    config.confThres = floatOf(root["conf_thres"]);
    config.nmsThres = floatOf(root["nms_thres"]);
    config.classNum = root["class_num"].as<int>();
    const auto size = root["input_size"].as<std::vector<std::int64_t>>();
    const int width = narrowToInt(size.at(0));
    const int height = narrowToInt(size.at(1));
    config.inputSize = {width, height};
    return config;
}

}  // namespace ai_orvo::model
