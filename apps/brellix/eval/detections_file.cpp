#include "eval/detections_file.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>

namespace brellix::app {
namespace {

using Json = nlohmann::ordered_json;

Json detectionToJson(const Detection& detection, std::int64_t picture, std::int64_t category) {
    const cv::Rect2d& box = detection.box;
    Json json = {{"image_id", picture},
                 {"category_id", category},
                 {"bbox", {box.x, box.y, box.width, box.height}},
                 {"score", detection.score}};
    if (detection.mask) {
        const RunLengths& mask = detection.mask->mask;
        json["segmentation"] = {{"size", {mask.size.height, mask.size.width}}, {"counts", compressed(mask)}};
    }
    return json;
}

}  // namespace

void writeDetections(const Dataset& dataset, const Detections& detections, Sink& sink) {
    std::string separator = "[\n";
    for (std::size_t i = 0; i < detections.size(); ++i) {
        std::string text;
        for (const Detection& detection : detections[i]) {
            text += separator + detectionToJson(detection, dataset.pictures[i].id,
                                                dataset.categories[detection.category].id)
                                    .dump();
            separator = ",\n";
        }
        sink.write(text);
    }
    sink.write(separator == "[\n" ? "[]\n" : "\n]\n");
    sink.close();
}

}  // namespace brellix::app
