#include "json_lines.h"

#include "run_length.h"

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

Json maskToJson(const cv::Mat& mask) {
    return {{"size", {mask.rows, mask.cols}}, {"counts", cocoRunLengths(mask)}};
}

Json objectToJson(const ai_orvo::model::Object& object, const ClassList& classes) {
    const cv::Rect2f& box = object.rect;
    Json json = {{"label", object.label},
                 {"name", classes.nameOf(object.label)},
                 {"prob", object.prob},
                 {"box", {box.x, box.y, box.width, box.height}}};
    if (!object.mask.empty()) {
        json["mask"] = maskToJson(object.mask);
    }
    return json;
}

Json objectsToJson(const std::vector<ai_orvo::model::Object>& objects, const ClassList& classes) {
    Json list = Json::array();
    for (const ai_orvo::model::Object& object : objects) {
        list.push_back(objectToJson(object, classes));
    }
    return list;
}

}  // namespace

std::string jsonLine(const PictureResult& result, const ClassList& classes) {
    const ai_orvo::model::RunReport& report = result.report;
    const Json line = {{"schema", kSchema},
                       {"source", result.source},
                       {"frame", 0},
                       {"width", result.picture.cols},
                       {"height", result.picture.rows},
                       {"objects", objectsToJson(result.objects, classes)},
                       {"ms",
                        {{"pre", wholeMicroseconds(report.pre_ms)},
                         {"infer", wholeMicroseconds(report.infer_ms)},
                         {"post", wholeMicroseconds(report.post_ms)}}}};
    // A path may hold any bytes, JSON may not.
    return line.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

void JsonLinesWriter::finish(const RunTotals& /*totals*/) {
    sink_.close();
}

}  // namespace brellix::app
