#include "detect/json_lines.h"

#include "files/json_text.h"
#include "masks/mask_polygons.h"
#include "masks/run_length.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <vector>

namespace brellix::app {
namespace {

// Numbers are floats, as the library's are: a probability of 0.82 is written 0.82, not 0.8199999928474426.
using Json = nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool, std::int64_t,
                                  std::uint64_t, float>;

constexpr int kSchema = 1;

float wholeMicroseconds(double milliseconds) {
    return static_cast<float>(std::round(milliseconds * 1000.0) / 1000.0);
}

Json maskToJson(const cv::Mat& mask, MaskFormat format) {
    Json json = {{"size", {mask.rows, mask.cols}}};
    if (format == MaskFormat::kPolygons) {
        json["polygons"] = maskPolygons(mask);
    } else {
        json["counts"] = cocoRunLengths(mask);
    }
    return json;
}

Json objectToJson(const ai_orvo::model::Object& object, const ClassList& classes, MaskFormat masks) {
    const cv::Rect2f& box = object.rect;
    Json json = {{"label", object.label},
                 {"name", classes.nameOf(object.label)},
                 {"prob", object.prob},
                 {"box", {box.x, box.y, box.width, box.height}}};
    if (!object.mask.empty() && masks != MaskFormat::kNone) {
        json["mask"] = maskToJson(object.mask, masks);
    }
    return json;
}

Json objectsToJson(const std::vector<ai_orvo::model::Object>& objects, const ClassList& classes,
                   MaskFormat masks) {
    Json list = Json::array();
    for (const ai_orvo::model::Object& object : objects) {
        list.push_back(objectToJson(object, classes, masks));
    }
    return list;
}

}  // namespace

std::string jsonLine(const PictureResult& result, const ClassList& classes, MaskFormat masks) {
    const ai_orvo::model::RunReport& report = result.report;
    Json line = {{"schema", kSchema}, {"source", result.id.source}, {"frame", result.id.number}};
    if (result.id.timeMs) {
        // Whole ones: the floats of this document could not tell the frames of a long video apart.
        line["time_ms"] = static_cast<std::int64_t>(std::llround(*result.id.timeMs));
    }
    line["width"] = result.picture.cols;
    line["height"] = result.picture.rows;
    line["objects"] = objectsToJson(result.objects, classes, masks);
    line["ms"] = {{"pre", wholeMicroseconds(report.pre_ms)},
                  {"infer", wholeMicroseconds(report.infer_ms)},
                  {"post", wholeMicroseconds(report.post_ms)}};
    return jsonText(line, -1);
}

void JsonLinesWriter::finish(const RunTotals& /*totals*/) {
    sink_.close();
}

}  // namespace brellix::app
