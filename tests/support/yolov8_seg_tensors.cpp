#include "support/yolov8_seg_tensors.h"

#include "reference/letterbox.h"
#include "support/tensor_values.h"

namespace brellix::testing {

using ai_orvo::model::AIBuff;
using ai_orvo::model::TensorMap;
using ai_orvo::model::YOLOv8Seg;
using reference::SegSettings;

namespace {

AIBuff randomTensor(Random& random, const SegSettings& settings, int elements, float low, float high) {
    if (settings.isQuantized) {
        const float scale = (high - low) / 255.0F;
        return int8Tensor(random.bytes(static_cast<std::size_t>(elements)),
                          static_cast<int>(-128.0F - low / scale), scale);
    }
    std::vector<float> values;
    for (int i = 0; i < elements; ++i) {
        values.push_back(random.real(low, high));
    }
    return floatTensor(values);
}

}  // namespace

YAML::Node segConfig(const SegSettings& settings) {
    YAML::Node config;
    config["model_path"] = "network";
    config["framework"] = "ONNX";
    config["class_num"] = settings.classNum;
    config["conf_thres"] = settings.confThreshold;
    config["nms_thres"] = settings.nmsThreshold;
    config["input_size"] = std::vector<long>{settings.inputSize.width, settings.inputSize.height};
    config["is_quantized"] = settings.isQuantized;
    return config;
}

void applySettings(YOLOv8Seg& model, const SegSettings& settings) {
    model.letterboxInfo = settings.letterbox;
    model.confThreshold = settings.confThreshold;
    model.nmsThreshold = settings.nmsThreshold;
    model.maxDetections = settings.maxDetections;
}

SegSettings randomSegSettings(Random& random, bool isQuantized) {
    const int height = random.integer(12, 150);
    return segSettingsFor({random.integer(12, 150), height}, random, isQuantized);
}

SegSettings segSettingsFor(const cv::Size& picture, Random& random, bool isQuantized) {
    const int side = random.oneOf({32, 64, 96});
    return segSettingsFor(picture, {side, side}, random, isQuantized);
}

SegSettings segSettingsFor(const cv::Size& picture, const cv::Size& input, Random& random, bool isQuantized) {
    SegSettings settings;
    settings.inputSize = input;
    cv::Mat letterboxed;
    settings.letterbox = reference::letterbox(cv::Mat::zeros(picture, CV_8UC3), letterboxed, input);
    settings.isQuantized = isQuantized;
    settings.protoWidth = input.width / 4;
    settings.protoHeight = input.height / 4;
    settings.confThreshold = random.oneOf({0.3F, 0.5F, 0.7F});
    settings.nmsThreshold = random.oneOf({0.0F, 0.2F, 0.45F, 0.65F, 1.0F});
    settings.maxDetections = random.oneOf({100, 100, 5, 1});
    settings.classNum = random.integer(1, 4);
    for (std::size_t head = 0; head < settings.grids.size(); ++head) {
        settings.grids[head] = {input.width / settings.strides[head], input.height / settings.strides[head]};
    }
    return settings;
}

TensorMap randomSegOutputs(Random& random, const SegSettings& settings) {
    TensorMap outputs;
    for (std::size_t head = 0; head < settings.grids.size(); ++head) {
        const int cells = settings.grids[head].area();
        const auto name = [&](std::size_t part) { return "output" + std::to_string(3 * head + part); };
        outputs[name(0)] = randomTensor(random, settings, 4 * settings.dflLen * cells, -4.0F, 4.0F);
        outputs[name(1)] = randomTensor(random, settings, settings.classNum * cells, -4.0F, 2.0F);
        outputs[name(2)] = randomTensor(random, settings, settings.maskCoefCount * cells, -1.0F, 1.0F);
    }
    const int pixels = settings.protoWidth * settings.protoHeight;
    outputs["proto"] = randomTensor(random, settings, settings.maskCoefCount * pixels, -1.0F, 1.0F);
    return outputs;
}

}  // namespace brellix::testing
