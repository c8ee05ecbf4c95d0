#include "brellix/yolov8_seg.h"

#include "brellix/logger.h"
#include "common/framework.h"
#include "common/input_tensor.h"
#include "common/model_config.h"
#include "common/numeric.h"
#include "common/run_report.h"
#include "common/tensors.h"
#include "yolov8_seg/tensor_tables.h"

#include <cstdint>
#include <cstdlib>

namespace ai_orvo::model {
namespace {

/// The back-end decides the form of the input, the quantisation flag how it is described. Sets the model's
/// letterbox record.
AIBuff inputFor(const cv::Mat& image, YOLOv8Seg& model) {
    const bool takesBytes = model.config.framework == alg::common::kFrameworkRknn;
    AIBuff input = takesBytes ? byteInput(image, model.inputSize, model.letterboxInfo)
                              : floatInput(image, model.inputSize, ChannelOrder::kBgr, model.letterboxInfo);
    if (model.isQuantized) {
        input.type = alg::common::kElementInt8;
        input.zp = 0;
        input.scale = 1.0F;
    }
    return input;
}

}  // namespace

YOLOv8Seg::YOLOv8Seg(const YAML::Node& document) {
    // Every key is read before anything is judged, in the order in which faults are reported.
    const auto modelPath = document["model_path"].as<std::string>();
    const auto framework = document["framework"].as<std::string>();
    classNum = document["class_num"].as<int>();
    confThreshold = floatOf(document["conf_thres"]);
    nmsThreshold = floatOf(document["nms_thres"]);
    const auto size = document["input_size"].as<std::vector<std::int64_t>>();
    isQuantized = document["is_quantized"].as<bool>();

    inputSize.width = narrowToInt(size.at(0));
    inputSize.height = narrowToInt(size.at(1));
    protoWidth = inputSize.width / 4;
    protoHeight = inputSize.height / 4;

    config.model_path = modelPath;
    config.framework = frameworkCode(framework, true);
    config.rknn_flag = false;
    registerSegTensors({inputSize, strides, classNum, {protoWidth, protoHeight}, maskCoefCount, isQuantized},
                       config);
    if (initEngine(engine, config) != 0) {
        LOG_ERROR("Failed to init ai_engine, check config file");
        std::exit(EXIT_SUCCESS);
    }
}

YOLOv8Seg::YOLOv8Seg(const std::string& path) : YOLOv8Seg(YAML::LoadFile(path)) {}

YOLOv8Seg::~YOLOv8Seg() = default;

void YOLOv8Seg::detect(const cv::Mat& image, std::vector<Object>& objects) {
    StageClock clock;
    TensorMap inputs;
    TensorMap outputs;
    inputs[kSegInput] = inputFor(image, *this);
    const std::size_t elementSize = isQuantized ? sizeof(std::int8_t) : sizeof(float);
    for (const char* name : kSegOutputs) {
        outputs[name] = outputTensor(config.output_sizes[name], elementSize);
    }
    const double preprocessMs = clock.preprocessed();
    LOG_INFO("YOLOv8-seg Preprocess runtime = {}(ms)", preprocessMs);

    const double inferenceMs = clock.infer(engine, inputs, outputs);
    LOG_INFO("YOLOv8-seg Inference runtime = {}(ms)", inferenceMs);

    clock.startStage();
    postprocess(outputs, objects);
    const double postprocessMs = clock.postprocessed();
    LOG_INFO("YOLOv8-seg postprocess runtime = {}(ms)", postprocessMs);
}

}  // namespace ai_orvo::model
