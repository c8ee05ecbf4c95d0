#include "compare/compare_report.h"

#include <nlohmann/json.hpp>
#include "files/json_text.h"

namespace brellix::app {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchema = 1;

Json bytesToJson(const ByteCounts& counts) {
    Json json = Json::array();
    for (const auto& [name, count] : counts) {
        json.push_back({{"tensor", name},
                        {"bytes", count.bytes},
                        {"lowest", count.lowest},
                        {"highest", count.highest},
                        {"saturated", count.saturatedShare()},
                        {"cut_off", count.cutOff ? Json(*count.cutOff) : Json(nullptr)}});
    }
    return json;
}

Json sideToJson(const ModelConfig& config, std::size_t objects, const ByteCounts& bytes) {
    return {{"config", config.path},
            {"model", nameOf(config.modelClass)},
            {"objects", objects},
            {"int8_outputs", bytesToJson(bytes)}};
}

Json lossToJson(const LossCount& count) {
    return {{"all", count.all()}, {"near_threshold", count.nearThreshold}};
}

Json placeToJson(const Measurement& worst, const ClassList& classes) {
    return {{"value", worst.value}, {"name", classes.nameOf(worst.label)}, {"source", worst.source}};
}

Json overlapsToJson(const Measurements& overlaps, const ClassList& classes) {
    if (overlaps.empty()) {
        return nullptr;
    }
    return {{"mean", overlaps.mean()}, {"worst", placeToJson(overlaps.smallest(), classes)}};
}

Json driftsToJson(const Measurements& drifts, const ClassList& classes) {
    if (drifts.empty()) {
        return nullptr;
    }
    return {{"mean", drifts.mean()},
            {"p95", drifts.percentile95()},
            {"worst", placeToJson(drifts.largest(), classes)}};
}

Json worstToJson(const std::vector<WorstPicture>& pictures) {
    Json json = Json::array();
    for (const WorstPicture& picture : pictures) {
        json.push_back({{"source", picture.source}, {"differences", picture.differences}});
    }
    return json;
}

}  // namespace

std::string compareReport(const CompareJob& job, const CompareResult& result,
                          const std::vector<std::string>& exceeded) {
    const Comparison& comparison = result.comparison;
    const Json json = {{"schema", kSchema},
                       {"a", sideToJson(job.a, comparison.objectsA, result.bytesA)},
                       {"b", sideToJson(job.b, comparison.objectsB, result.bytesB)},
                       {"iou", job.rules.overlap},
                       {"margin", job.rules.margin},
                       {"pictures", comparison.pictures},
                       {"failed", result.failed},
                       {"matched", comparison.matched},
                       {"missed", lossToJson(comparison.missed)},
                       {"extra", lossToJson(comparison.extra)},
                       {"class_changed", comparison.classChanged},
                       {"box_iou", overlapsToJson(comparison.boxOverlaps, job.classes)},
                       {"mask_iou", overlapsToJson(comparison.maskOverlaps, job.classes)},
                       {"drift", driftsToJson(comparison.drifts, job.classes)},
                       {"worst_pictures", worstToJson(result.worst)},
                       {"exceeded", exceeded}};
    return jsonText(json, 2);
}

}  // namespace brellix::app
