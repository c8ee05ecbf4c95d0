// YOLOv5::postprocess against its reference: any tensor, thresholds, letterbox record, class and candidate
// count. Capped: 64 candidates of 90 values.

#include "reference/fused_boxes.h"
#include "support/comparison.h"
#include "support/engine_scope.h"
#include "support/model_settings.h"
#include "support/require.h"
#include "support/target.h"
#include "support/tensors.h"

#include "brellix/yolov5.h"

#include <vector>

namespace brellix::fuzz {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;
using ai_orvo::model::YOLOv5;

reference::FusedSettings settingsFrom(FuzzedData& data) {
    reference::FusedSettings settings;
    settings.letterbox = letterboxRecord(data);
    settings.confThreshold = data.oddNumber(0.0F, 1.0F);
    settings.nmsThreshold = data.oddNumber(0.0F, 1.0F);
    settings.classNum = data.oddInteger(0, 85);
    settings.numCandidates = data.oddInteger(0, 64);
    return settings;
}

AIBuff outputFrom(FuzzedData& data, const reference::FusedSettings& settings) {
    const bool isPlausible = settings.classNum >= 0 && settings.classNum <= 85;
    const std::size_t rowLength = isPlausible ? static_cast<std::size_t>(settings.classNum) + 5 : 7;
    const auto rows = static_cast<std::size_t>(data.integer(0, 64));
    const float high = data.oneOf({1.0F, 1.5F, 300.0F});
    AIBuff output = floatTensor(data, rows * rowLength, data.oneOf({0.0F, -50.0F}), high);
    damage(data, output);
    return output;
}

std::vector<Object> postprocess(const reference::FusedSettings& settings, const AIBuff& output) {
    YOLOv5 model("network", "TensorRT", {64, 64}, 0.25F, 0.65F, 6);
    testing::applySettings(model, settings);
    TensorMap outputs;
    outputs["output0"] = output;
    std::vector<Object> objects(1);
    model.postprocess(outputs, objects);
    return objects;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const EngineScope scope;
    FuzzedData data(bytes, size);
    const reference::FusedSettings settings = settingsFrom(data);
    const AIBuff output = outputFrom(data, settings);
    const std::vector<Object> objects = postprocess(settings, output);
    const std::vector<Object> candidates = reference::decodeFusedRows(settings, output);
    require(testing::isGreedySuppression(candidates, objects, settings.nmsThreshold), "suppression");
    // The order among equal probabilities is free.
    if (!testing::hasTies(candidates)) {
        require(testing::sameObjects(objects, reference::detectFused(settings, output)), "objects");
    }
    return 0;
}

}  // namespace brellix::fuzz
