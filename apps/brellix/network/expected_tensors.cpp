#include "network/expected_tensors.h"

#include <yolov5/tensor_tables.h>
#include <yolov5_cutoff/tensor_tables.h>
#include <yolov8_seg/tensor_tables.h>

#include <map>

namespace brellix::app {
namespace {

namespace engine = ai_orvo::alg::common;
namespace model = ai_orvo::model;

// What the models' own members hold.
constexpr int kPrototypes = 32;
constexpr int kPrototypeStride = 4;

void registerFused(const ModelSettings& settings, engine::AIEngineConfig& config) {
    model::registerFusedTensors(settings.inputSize, fusedCandidates(settings.inputSize), settings.classNum,
                                config);
}

void registerCut(const ModelSettings& settings, engine::AIEngineConfig& config) {
    config.framework = engine::kFrameworkRknn;
    model::registerCutTensors(settings.inputSize, kStrides, model::channelsPerAnchor(settings.classNum),
                              config);
}

void registerSegmentation(const ModelSettings& settings, engine::AIEngineConfig& config) {
    static const std::map<std::string, int> frameworks = {{"TensorRT", engine::kFrameworkTensorRt},
                                                          {"RKNN", engine::kFrameworkRknn},
                                                          {"ONNX", engine::kFrameworkOnnx}};
    const auto known = frameworks.find(settings.framework);
    config.framework = known == frameworks.end() ? engine::kFrameworkUnset : known->second;
    const cv::Size protoSize = {settings.inputSize.width / kPrototypeStride,
                                settings.inputSize.height / kPrototypeStride};
    model::registerSegTensors(
        {settings.inputSize, kStrides, settings.classNum, protoSize, kPrototypes, settings.isQuantized},
        config);
}

TensorForm inputForm(const ModelSettings& settings) {
    const bool takesBytes = settings.modelClass == ModelClass::kYoloV5Cutoff ||
                            (settings.modelClass == ModelClass::kYoloV8Seg && settings.framework == "RKNN");
    return takesBytes ? TensorForm::kImageBytes : TensorForm::kFloat32;
}

TensorForm outputForm(const ModelSettings& settings) {
    const bool readsBytes = settings.modelClass == ModelClass::kYoloV5Cutoff ||
                            (settings.modelClass == ModelClass::kYoloV8Seg && settings.isQuantized);
    return readsBytes ? TensorForm::kInt8 : TensorForm::kFloat32;
}

/// The detectors register element counts alone; their decoders read them in this shape.
std::vector<std::int64_t> detectorShape(const ModelSettings& settings, const std::string& output,
                                        std::int64_t elements) {
    if (settings.modelClass == ModelClass::kYoloV5) {
        return {1, fusedCandidates(settings.inputSize), settings.classNum + 5};
    }
    for (int head = 0; head < model::kCutHeads; ++head) {
        if (output == model::kCutOutputs[head]) {
            return {1, std::int64_t{model::kCutAnchorsPerHead} * (settings.classNum + 5),
                    settings.inputSize.height / kStrides[head], settings.inputSize.width / kStrides[head]};
        }
    }
    return {elements};
}

std::vector<std::int64_t> outputShape(const ModelSettings& settings, const engine::AIEngineConfig& tables,
                                      const std::string& output, std::int64_t elements) {
    const auto registered = tables.output_shapes.find(output);
    return registered != tables.output_shapes.end() ? registered->second
                                                    : detectorShape(settings, output, elements);
}

}  // namespace

const char* nameOf(TensorForm form) {
    switch (form) {
        case TensorForm::kInt8:
            return "int8";
        case TensorForm::kImageBytes:
            return "8-bit image";
        case TensorForm::kFloat32:
            break;
    }
    return "float32";
}

int fusedCandidates(cv::Size inputSize) {
    return model::countCandidates(inputSize, kStrides);
}

engine::AIEngineConfig engineTables(const ModelSettings& settings) {
    engine::AIEngineConfig config;
    switch (settings.modelClass) {
        case ModelClass::kYoloV5:
            registerFused(settings, config);
            break;
        case ModelClass::kYoloV5Cutoff:
            registerCut(settings, config);
            break;
        case ModelClass::kYoloV8Seg:
            registerSegmentation(settings, config);
            break;
    }
    return config;
}

std::vector<ExpectedTensor> expectedTensors(const ModelSettings& settings) {
    const engine::AIEngineConfig tables = engineTables(settings);
    std::vector<ExpectedTensor> tensors;
    for (const auto& [name, elements] : tables.input_sizes) {
        tensors.push_back({true,
                           name,
                           elements,
                           {1, 3, settings.inputSize.height, settings.inputSize.width},
                           inputForm(settings),
                           true});
    }
    for (const auto& [name, elements] : tables.output_sizes) {
        tensors.push_back({false, name, elements, outputShape(settings, tables, name, elements),
                           outputForm(settings), tables.output_shapes.count(name) > 0});
    }
    return tensors;
}

}  // namespace brellix::app
