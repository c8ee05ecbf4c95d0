#include "shapes_files.h"

#include <yaml-cpp/yaml.h>
#include <nlohmann/json.hpp>

#include <fstream>

namespace brellix::testing {

std::string shapesFile(const std::string& name) {
    return std::string(BRELLIX_SOURCE_DIR) + "/models/shapes/" + name;
}

std::vector<std::string> shapesPictureFiles() {
    nlohmann::json document;
    std::ifstream(shapesFile("truth.json")) >> document;
    std::vector<std::string> files;
    for (const nlohmann::json& image : document.at("images")) {
        files.push_back(shapesFile("pictures/" + image.at("file_name").get<std::string>()));
    }
    return files;
}

std::string shapesConfig(const std::string& name) {
    YAML::Node config = YAML::LoadFile(shapesFile(name));
    const auto network = config["model_path"].as<std::string>();
    config["model_path"] = std::string(BRELLIX_SOURCE_DIR) + "/" + network;
    config["conf_thres"] = 0.01;
    config["nms_thres"] = 0.65;
    return YAML::Dump(config);
}

}  // namespace brellix::testing
