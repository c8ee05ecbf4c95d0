#include "shapes_dataset.h"

#include <yaml-cpp/yaml.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <map>
#include <stdexcept>

namespace brellix::testing {

using nlohmann::json;

namespace {

/// A mask from run lengths, column by column, beginning with the pixels outside.
cv::Mat decodeRuns(const json& segmentation) {
    const int rows = segmentation.at("size").at(0);
    const int columns = segmentation.at("size").at(1);
    cv::Mat transposed = cv::Mat::zeros(columns, rows, CV_8U);
    unsigned char* const pixels = transposed.data;
    std::size_t position = 0;
    bool inside = false;
    for (const std::size_t run : segmentation.at("counts").get<std::vector<std::size_t>>()) {
        if (run > transposed.total() - position) {
            throw std::runtime_error("a mask of the ground truth is longer than its picture");
        }
        std::fill_n(pixels + position, run, static_cast<unsigned char>(inside ? 255 : 0));
        position += run;
        inside = !inside;
    }
    return transposed.t();
}

}  // namespace

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
        dataset.masks.push_back(decodeRuns(annotation.at("segmentation")));
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
