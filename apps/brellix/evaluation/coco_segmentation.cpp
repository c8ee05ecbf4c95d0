#include "evaluation/coco_segmentation.h"

#include "evaluation/dataset.h"
#include "evaluation/polygon_mask.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace brellix::app {
namespace {

using nlohmann::json;

constexpr const char* kKey = "segmentation";
constexpr std::size_t kFewestCoordinates = 6;

Polygon readPolygon(const JsonEntry& annotation, const json& coordinates) {
    const bool isList =
        coordinates.is_array() && coordinates.size() >= kFewestCoordinates && coordinates.size() % 2 == 0;
    if (!isList) {
        annotation.refuse("a polygon of \"segmentation\" is " + briefly(coordinates) +
                          ", expected x and y of at least three corners");
    }
    std::vector<double> values;
    for (const json& value : coordinates) {
        if (!value.is_number() || !std::isfinite(value.get<double>())) {
            annotation.refuse("a polygon of \"segmentation\" holds " + briefly(value) + ", expected numbers");
        }
        values.push_back(value.get<double>());
    }
    Polygon polygon;
    for (std::size_t i = 0; i < values.size(); i += 2) {
        polygon.emplace_back(values[i], values[i + 1]);
    }
    return polygon;
}

RunLengths readPolygons(const JsonEntry& annotation, const json& list, cv::Size picture) {
    if (picture.empty()) {
        annotation.refuse("\"segmentation\" holds polygons, and the image has no \"width\" and \"height\"");
    }
    std::vector<Polygon> polygons;
    for (const json& coordinates : list) {
        polygons.push_back(readPolygon(annotation, coordinates));
        if (isTangled(polygons.back(), picture.width)) {
            annotation.refuse("a polygon of \"segmentation\" runs across the picture more than " +
                              std::to_string(kMostCrossings) + " times");
        }
    }
    return maskOfPolygons(polygons, picture);
}

cv::Size readSize(const JsonEntry& segmentation, cv::Size picture) {
    const std::vector<double> size = segmentation.numbers("size");
    const bool isSize = size.size() == 2 && size[0] >= 1.0 && size[1] >= 1.0 &&
                        size[0] <= static_cast<double>(kLongestSide) &&
                        size[1] <= static_cast<double>(kLongestSide) &&
                        size[0] * size[1] <= static_cast<double>(kMostPixels);
    if (!isSize) {
        segmentation.refuse("size", "height and width of the picture");
    }
    const cv::Size found(static_cast<int>(size[1]), static_cast<int>(size[0]));
    if (!picture.empty() && found != picture) {
        segmentation.refuse("size", "[" + std::to_string(picture.height) + "," +
                                        std::to_string(picture.width) +
                                        "], the height and width of the image");
    }
    return found;
}

std::vector<std::int64_t> readRuns(const JsonEntry& segmentation) {
    std::vector<std::int64_t> runs;
    for (const json& run : segmentation.at("counts")) {
        if (!run.is_number_integer() || run.get<double>() < 0.0 ||
            run.get<double>() > static_cast<double>(kMostPixels)) {
            segmentation.refuse("\"counts\" holds " + briefly(run) + ", expected lengths in pixels");
        }
        runs.push_back(run.get<std::int64_t>());
    }
    return runs;
}

RunLengths readRunLengths(const JsonEntry& segmentation, cv::Size picture) {
    const cv::Size size = readSize(segmentation, picture);
    const json& counts = segmentation.at("counts");
    if (!counts.is_array() && !counts.is_string()) {
        segmentation.refuse("counts", "run lengths, as an array or as compressed text");
    }
    try {
        return counts.is_string() ? decompressed(counts.get_ref<const std::string&>(), size)
                                  : checkedRunLengths(readRuns(segmentation), size);
    } catch (const std::invalid_argument& error) {
        segmentation.refuse(std::string("\"counts\" does not fit its size: ") + error.what());
    }
}

}  // namespace

std::optional<MeasuredMask> readSegmentation(const JsonEntry& annotation, cv::Size picture) {
    if (!annotation.has(kKey) || annotation.at(kKey).empty()) {
        return std::nullopt;
    }
    const json& segmentation = annotation.at(kKey);
    if (segmentation.is_array()) {
        return measured(readPolygons(annotation, segmentation, picture));
    }
    if (!segmentation.is_object()) {
        annotation.refuse(kKey, "a list of polygons, or an object with \"size\" and \"counts\"");
    }
    return measured(readRunLengths(
        JsonEntry(annotation.file(), annotation.place() + ".segmentation", segmentation), picture));
}

}  // namespace brellix::app
