#include "shapes_dataset.h"

#include <yaml-cpp/yaml.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <map>

namespace brellix::testing {

using nlohmann::json;

std::string shapesFile(const std::string& name) {
    return std::string(BRELLIX_SOURCE_DIR) + "/models/shapes/" + name;
}

ShapesDataset readShapesDataset() {
    json document;
    std::ifstream(shapesFile("truth.json")) >> document;
    std::map<int, int> labelOfCategory;
    for (const json& category : document.at("categories")) {
        const int label = static_cast<int>(labelOfCategory.size());
        labelOfCategory[category.at("id")] = label;
    }
    ShapesDataset dataset;
    std::map<int, int> indexOfImage;
    for (const json& image : document.at("images")) {
        indexOfImage[image.at("id")] = static_cast<int>(dataset.pictures.size());
        dataset.pictures.push_back(shapesFile("pictures/" + image.at("file_name").get<std::string>()));
    }
    for (const json& annotation : document.at("annotations")) {
        const auto box = annotation.at("bbox").get<std::vector<double>>();
        dataset.truth.push_back({indexOfImage.at(annotation.at("image_id")),
                                 labelOfCategory.at(annotation.at("category_id")),
                                 {box.at(0), box.at(1), box.at(2), box.at(3)}});
    }
    return dataset;
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
