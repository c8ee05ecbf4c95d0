// Evaluates the detections of one file against the ground truth of another, as `brellix eval` does with what
// a model finds: evaluate_files TRUTH.json DETECTIONS.json writes {"box": ..., "mask": ...}.

#include "console/failure.h"
#include "evaluation/coco_truth.h"
#include "evaluation/evaluation.h"
#include "evaluation/evaluation_json.h"
#include "masks/run_length.h"

#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>

namespace {

using namespace brellix::app;
using nlohmann::json;

template <typename Element>
std::map<std::int64_t, std::size_t> indexById(const std::vector<Element>& elements) {
    std::map<std::int64_t, std::size_t> index;
    for (const Element& element : elements) {
        index.emplace(element.id, index.size());
    }
    return index;
}

MeasuredMask readMask(const json& segmentation) {
    const json& size = segmentation.at("size");
    return measured(decompressed(segmentation.at("counts").get<std::string>(), {size.at(1), size.at(0)}));
}

Detection readDetection(const json& entry, std::size_t category) {
    const json& box = entry.at("bbox");
    Detection detection{category, {box.at(0), box.at(1), box.at(2), box.at(3)}, entry.at("score"), {}};
    if (entry.contains("segmentation")) {
        detection.mask = readMask(entry.at("segmentation"));
    }
    return detection;
}

Detections readDetections(const char* path, const Dataset& dataset) {
    json document;
    std::ifstream(path) >> document;
    const auto categories = indexById(dataset.categories);
    const auto pictures = indexById(dataset.pictures);
    Detections detections(dataset.pictures.size());
    for (const json& entry : document) {
        const std::size_t category = categories.at(entry.at("category_id"));
        detections[pictures.at(entry.at("image_id"))].push_back(readDetection(entry, category));
    }
    return detections;
}

nlohmann::ordered_json evaluateFiles(const char* truthPath, const char* detectionsPath) {
    const Dataset dataset = readCocoTruth(truthPath);
    const Detections detections = readDetections(detectionsPath, dataset);
    const std::vector<CategoryName> names(dataset.categories.size(), CategoryName{"", -1});
    nlohmann::ordered_json figures = {{"mask", nullptr}};
    figures["box"] = evaluationToJson(evaluate(dataset, detections, Shape::kBox), dataset, names);
    if (hasMasks(dataset)) {
        figures["mask"] = evaluationToJson(evaluate(dataset, detections, Shape::kMask), dataset, names);
    }
    return figures;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: evaluate_files TRUTH.json DETECTIONS.json\n";
        return 2;
    }
    try {
        std::cout << evaluateFiles(argv[1], argv[2]) << '\n';
        return 0;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 3;
    }
}
