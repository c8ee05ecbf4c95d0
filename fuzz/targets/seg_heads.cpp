// YOLOv8Seg's decoding of one head, of the prototypes and of one cell's distances against the references,
// float and int8: any values, zero points, scales, threshold, grid, stride, bins, class count, letterbox
// record. Capped: a grid of 8 x 8, 20 bins, 24 classes, prototypes of 12 x 12; more coefficients than 40
// are not asked for.

#include "reference/dfl.h"
#include "support/comparison.h"
#include "support/engine_scope.h"
#include "support/require.h"
#include "support/target.h"
#include "support/tensors.h"
#include "support/yolov8_seg_heads.h"
#include "support/yolov8_seg_tensors.h"

#include "brellix/yolov8_seg.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <vector>

namespace brellix::fuzz {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::YOLOv8Seg;
using reference::SegCandidates;
using reference::SegSettings;
using testing::SegHeadCase;

AIBuff tensorFrom(FuzzedData& data, bool isQuantized, std::size_t elements) {
    AIBuff tensor = isQuantized ? int8Tensor(data, elements) : floatTensor(data, elements, -6.0F, 3.0F);
    damage(data, tensor);
    return tensor;
}

SegSettings settingsFrom(FuzzedData& data) {
    SegSettings settings;
    settings.inputSize = {64, 64};
    settings.isQuantized = data.flag();
    settings.letterbox = letterboxRecord(data);
    settings.confThreshold = data.oddNumber(0.0F, 1.0F);
    settings.classNum = data.oddInteger(0, 24);
    settings.maskCoefCount = data.byte() < 200 ? 32 : data.integer(-1, 40);
    settings.protoWidth = data.integer(0, 12);
    settings.protoHeight = data.integer(0, 12);
    return settings;
}

SegHeadCase headFrom(FuzzedData& data, const SegSettings& settings) {
    SegHeadCase head{};
    head.gridH = data.oddInteger(0, 8);
    head.gridW = data.oddInteger(0, 8);
    head.stride = data.oddInteger(1, 32);
    head.dflLen = data.byte() < 200 ? 16 : data.oddInteger(0, 20);
    const auto within = [](int value, int most) {
        return static_cast<std::size_t>(std::clamp(value, 0, most));
    };
    const std::size_t cells = within(head.gridH, 8) * within(head.gridW, 8);
    head.box = tensorFrom(data, settings.isQuantized, 4 * within(head.dflLen, 20) * cells);
    head.score = tensorFrom(data, settings.isQuantized, within(settings.classNum, 24) * cells);
    head.maskCoef = tensorFrom(data, settings.isQuantized, within(settings.maskCoefCount, 40) * cells);
    return head;
}

void compareHead(YOLOv8Seg& model, const SegSettings& settings, SegHeadCase& head) {
    SegCandidates actual;
    SegCandidates expected;
    const int count = testing::decodeSegHead(model, settings, head, actual);
    if (settings.maskCoefCount < 0) {
        require(count == 0, "candidates with fewer than no coefficients");
        return;
    }
    require(count == testing::decodeSegHeadPlainly(settings, head, expected), "count");
    require(testing::sameCandidates(actual, expected), "candidates");
}

void comparePrototypes(FuzzedData& data, YOLOv8Seg& model, const SegSettings& settings) {
    const int count = std::max(settings.maskCoefCount, 0);
    const int elements = count * settings.protoWidth * settings.protoHeight;
    AIBuff proto = tensorFrom(data, settings.isQuantized, static_cast<std::size_t>(elements));
    const cv::Mat actual = testing::prototypesOf(model, settings, proto);
    const cv::Mat expected = testing::prototypesPlainly(settings, proto);
    require(actual.size() == expected.size() &&
                testing::sameFloats(actual.ptr<float>(), expected.ptr<float>(), expected.total()),
            "prototypes");
}

void compareDistances(FuzzedData& data) {
    const int bins = data.oddInteger(0, 20);
    std::vector<float> logits(static_cast<std::size_t>(data.integer(0, 81)));
    for (float& logit : logits) {
        logit = data.oddNumber(-12.0F, 12.0F);
    }
    std::array<float, 4> actual{-1.0F, -2.0F, -3.0F, -4.0F};
    std::array<float, 4> expected = actual;
    const bool isTooShort = bins > 0 && logits.size() / 4 < static_cast<std::size_t>(bins);
    try {
        ai_orvo::model::computeDfl(logits, bins, actual.data());
        require(!isTooShort, "distances from too few logits");
    } catch (const std::out_of_range&) {
        require(isTooShort, "enough logits are refused");
        return;
    }
    reference::computeDfl(logits, bins, expected.data());
    require(testing::sameFloats(actual.data(), expected.data(), expected.size()), "distances");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const EngineScope scope;
    FuzzedData data(bytes, size);
    const SegSettings settings = settingsFrom(data);
    static const YAML::Node config = testing::segConfig(SegSettings());
    YOLOv8Seg model(config);
    testing::applySettings(model, settings);
    model.classNum = settings.classNum;
    model.maskCoefCount = settings.maskCoefCount;
    model.protoWidth = settings.protoWidth;
    model.protoHeight = settings.protoHeight;
    SegHeadCase head = headFrom(data, settings);
    compareHead(model, settings, head);
    comparePrototypes(data, model, settings);
    compareDistances(data);
    return 0;
}

}  // namespace brellix::fuzz
