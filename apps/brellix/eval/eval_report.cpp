#include "eval/eval_report.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include "files/json_text.h"

namespace brellix::app {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchema = 1;

std::size_t detectionsIn(const EvalRun& run) {
    std::size_t count = 0;
    for (const std::vector<Detection>& onPicture : run.detections) {
        count += onPicture.size();
    }
    return count;
}

/// A threshold with the digits it was written with.
double asWritten(float value) {
    std::array<char, 64> digits{};
    std::to_chars(digits.data(), digits.data() + digits.size() - 1, value);
    return std::strtod(digits.data(), nullptr);
}

}  // namespace

std::string evalReport(const EvalJob& job, const EvalResult& result) {
    const Dataset& dataset = job.dataset();
    Json json = {{"schema", kSchema},
                 {"config", job.config.path},
                 {"dataset", dataset.path},
                 {"conf", asWritten(job.config.confThreshold)},
                 {"nms", asWritten(job.config.nmsThreshold)},
                 {"pictures", dataset.pictures.size()},
                 {"failed", result.run.failed},
                 {"objects", objectsIn(dataset)},
                 {"detections", detectionsIn(result.run)},
                 {"detections_without_category", result.run.withoutCategory}};
    json["box"] = evaluationToJson(result.boxes, dataset, result.names);
    json["mask"] = result.masks ? evaluationToJson(*result.masks, dataset, result.names) : Json(nullptr);
    return jsonText(json, 2);
}

}  // namespace brellix::app
