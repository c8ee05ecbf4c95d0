// YOLOv5Cutoff: each head, and the objects of all three, against the reference: any bytes, zero point, scale,
// threshold, letterbox record, input size and class count. Capped: input of 64 x 64, 24 classes.

#include "reference/cutoff_boxes.h"
#include "support/comparison.h"
#include "support/engine_scope.h"
#include "support/model_settings.h"
#include "support/require.h"
#include "support/target.h"
#include "support/tensors.h"

#include "brellix/yolov5_cutoff.h"

#include <algorithm>
#include <vector>

namespace brellix::fuzz {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;
using ai_orvo::model::YOLOv5Cutoff;
using reference::CutoffSettings;

// Comparing suppressions takes the square of the candidates' number.
constexpr std::size_t kMostCompared = 200;

CutoffSettings settingsFrom(FuzzedData& data) {
    CutoffSettings settings;
    settings.inputSize.width = data.oddInteger(0, 64);
    settings.inputSize.height = data.oddInteger(0, 64);
    settings.letterbox = letterboxRecord(data);
    settings.confThreshold = data.oddNumber(0.0F, 1.0F);
    settings.nmsThreshold = data.oddNumber(0.0F, 1.0F);
    settings.classNum = data.oddInteger(0, 24);
    const bool isPlausible = settings.classNum >= 0 && settings.classNum <= 24;
    settings.channelsPerAnchor =
        isPlausible && data.byte() < 224 ? settings.classNum + 5 : data.oddInteger(0, 29);
    return settings;
}

/// As many bytes as the head has elements, where that is a sensible number.
std::size_t headBytes(const CutoffSettings& settings, std::size_t head) {
    const int stride = reference::kCutoffStrides[head];
    const auto within = [](int value, int most) {
        return static_cast<std::size_t>(std::clamp(value, 0, most));
    };
    return 3 * within(settings.channelsPerAnchor, 29) * within(settings.inputSize.width / stride, 8) *
           within(settings.inputSize.height / stride, 8);
}

void compareHead(YOLOv5Cutoff& model, const CutoffSettings& settings, AIBuff& output, int head) {
    std::vector<Object> objects(1);
    std::vector<Object> expected(1);
    const int count = model.decodeBoxes(output, head, objects);
    require(count == reference::decodeCutoffHead(settings, output, head, expected), "count of a head");
    require(testing::sameObjects(objects, expected), "objects of a head");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const EngineScope scope;
    FuzzedData data(bytes, size);
    const CutoffSettings settings = settingsFrom(data);
    YOLOv5Cutoff model("network", "RKNN", {64, 64}, 0.25F, 0.65F, 6);
    testing::applySettings(model, settings);
    TensorMap outputs;
    for (std::size_t head = 0; head < reference::kCutoffHeadNames.size(); ++head) {
        AIBuff output = int8Tensor(data, headBytes(settings, head));
        damage(data, output);
        compareHead(model, settings, output,
                    data.byte() < 240 ? static_cast<int>(head) : data.oddInteger(-1, 3));
        if (data.byte() < 240) {
            outputs[reference::kCutoffHeadNames[head]] = output;
        }
    }
    std::vector<Object> objects;
    model.postprocess(outputs, objects);
    const std::vector<Object> candidates = reference::decodeCutoffHeads(settings, outputs);
    if (candidates.size() <= kMostCompared) {
        require(testing::isGreedySuppression(candidates, objects, settings.nmsThreshold), "suppression");
    }
    return 0;
}

}  // namespace brellix::fuzz
