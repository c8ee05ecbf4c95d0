// YOLOv8Seg::postprocess against its reference, boxes, labels, probabilities and every byte of the masks,
// float and int8. Capped: square inputs of 32 and 64, 4 classes, pictures of 120 x 120, sizes in odd
// letterbox records below 150, 12 objects.

#include "reference/letterbox.h"
#include "reference/seg_objects.h"
#include "support/comparison.h"
#include "support/engine_scope.h"
#include "support/require.h"
#include "support/target.h"
#include "support/tensors.h"
#include "support/yolov8_seg_tensors.h"

#include "brellix/yolov8_seg.h"

#include <optional>
#include <string>
#include <vector>

namespace brellix::fuzz {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::LetterboxInfo;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;
using ai_orvo::model::YOLOv8Seg;
using reference::SegSettings;

constexpr float kLongestSide = 150.0F;

/// One that a picture gives, or one with numbers of its own; masks as large as it says are made.
LetterboxInfo letterboxFrom(FuzzedData& data, const cv::Size& input) {
    cv::Mat letterboxed;
    const cv::Size picture{data.integer(4, 120), data.integer(4, 120)};
    LetterboxInfo info = reference::letterbox(cv::Mat::zeros(picture, CV_8UC3), letterboxed, input);
    if (data.byte() < 192) {
        return info;
    }
    info = letterboxRecord(data);
    const auto isLarge = [](float side) { return side > kLongestSide; };
    info.src_width = isLarge(info.src_width) ? kLongestSide : info.src_width;
    info.src_height = isLarge(info.src_height) ? kLongestSide : info.src_height;
    return info;
}

SegSettings settingsFrom(FuzzedData& data) {
    SegSettings settings;
    const int side = data.oneOf({32, 64});
    settings.inputSize = {side, side};
    settings.protoWidth = side / 4;
    settings.protoHeight = side / 4;
    for (std::size_t head = 0; head < settings.grids.size(); ++head) {
        settings.grids[head] = {side / settings.strides[head], side / settings.strides[head]};
    }
    settings.isQuantized = data.flag();
    settings.letterbox = letterboxFrom(data, settings.inputSize);
    settings.confThreshold = data.oddNumber(0.3F, 0.9F);
    settings.nmsThreshold = data.oddNumber(0.0F, 1.0F);
    settings.maxDetections = data.oneOf({12, 5, 1, 0, -1});
    settings.classNum = data.integer(1, 4);
    return settings;
}

AIBuff tensorFrom(FuzzedData& data, const SegSettings& settings, int elements) {
    const auto count = static_cast<std::size_t>(elements);
    AIBuff tensor = settings.isQuantized ? int8Tensor(data, count) : floatTensor(data, count, -4.0F, 2.5F);
    damage(data, tensor);
    return tensor;
}

TensorMap outputsFrom(FuzzedData& data, const SegSettings& settings) {
    TensorMap outputs;
    int number = 0;
    for (const cv::Size& grid : settings.grids) {
        for (const int channels : {4 * settings.dflLen, settings.classNum, settings.maskCoefCount}) {
            outputs["output" + std::to_string(number++)] = tensorFrom(data, settings, channels * grid.area());
        }
    }
    const int pixels = settings.protoWidth * settings.protoHeight;
    outputs["proto"] = tensorFrom(data, settings, settings.maskCoefCount * pixels);
    if (data.byte() >= 240) {
        outputs.erase("output" + std::to_string(data.integer(0, 9)));
    }
    return outputs;
}

/// Nothing where OpenCV refuses the sizes, which both have to do.
template <typename Postprocess>
std::optional<std::vector<Object>> objectsOf(Postprocess postprocess) {
    std::vector<Object> objects;
    try {
        postprocess(objects);
    } catch (const cv::Exception&) {
        return std::nullopt;
    }
    return objects;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const EngineScope scope;
    FuzzedData data(bytes, size);
    const SegSettings settings = settingsFrom(data);
    TensorMap outputs = outputsFrom(data, settings);
    TensorMap expectedOutputs = outputs;
    YOLOv8Seg model{testing::segConfig(settings)};
    testing::applySettings(model, settings);
    const auto actual = objectsOf([&](std::vector<Object>& objects) { model.postprocess(outputs, objects); });
    const auto expected = objectsOf(
        [&](std::vector<Object>& objects) { reference::detectSeg(settings, expectedOutputs, objects); });
    require(actual.has_value() == expected.has_value(), "one of the two refuses the sizes");
    if (actual) {
        require(testing::sameObjectsAndMasks(*actual, *expected), "objects");
    }
    return 0;
}

}  // namespace brellix::fuzz
