#include "brellix/yolov5_cutoff.h"

#include "brellix/nms.h"
#include "common/framework.h"
#include "common/input_tensor.h"
#include "common/model_config.h"
#include "common/run_report.h"
#include "common/tensors.h"
#include "yolov5_cutoff/decode.h"
#include "yolov5_cutoff/tensor_tables.h"

namespace ai_orvo::model {
namespace {

/// Derives what follows from the settings, tells the engine the tensors and lets it load the network.
void registerTensorsAndInit(YOLOv5Cutoff& model) {
    model.channels_per_anchor = channelsPerAnchor(model.class_num);
    registerCutTensors(model.input_size, model.strides, model.channels_per_anchor, model.config);
    initEngine(model.engine, model.config);
}

}  // namespace

YOLOv5Cutoff::YOLOv5Cutoff(const std::string& model_path, std::string framework, cv::Size inputSize,
                           float conf, float nms, int classNum)
    : input_size(inputSize), conf_thres(conf), nms_thres(nms), class_num(classNum) {
    config.model_path = model_path;
    config.framework = frameworkCode(framework, false);
    registerTensorsAndInit(*this);
}

YOLOv5Cutoff::YOLOv5Cutoff(const std::string& yaml_path) {
    const ModelConfig file = readModelConfig(yaml_path);
    input_size = file.inputSize;
    conf_thres = file.confThres;
    nms_thres = file.nmsThres;
    class_num = file.classNum;
    config.model_path = file.modelPath;
    // The file names no back-end: networks of this kind are compiled for the NPU.
    config.rknn_flag = false;
    config.framework = alg::common::kFrameworkRknn;
    registerTensorsAndInit(*this);
}

YOLOv5Cutoff::~YOLOv5Cutoff() = default;

void YOLOv5Cutoff::detect(const cv::Mat& image, std::vector<Object>& objects) {
    StageClock clock;
    TensorMap inputs;
    TensorMap outputs;
    inputs[kCutInput] = byteInput(image, input_size, letterbox_info);
    for (const char* name : kCutOutputs) {
        outputs[name] = outputTensor(config.output_sizes[name], sizeof(std::int8_t));
    }
    clock.preprocessed();
    clock.infer(engine, inputs, outputs);
    postprocess(outputs, objects);
    clock.postprocessed();
}

void YOLOv5Cutoff::postprocess(TensorMap& outputs, std::vector<Object>& objects) {
    objects.clear();
    for (int head = 0; head < kCutHeads; ++head) {
        decodeBoxes(outputs[kCutOutputs[head]], head, objects);
    }
    nms(objects, nms_thres);
}

int YOLOv5Cutoff::decodeBoxes(AIBuff& output, int head, std::vector<Object>& objects) {
    if (head < 0 || head >= kCutHeads) {
        return 0;
    }
    const int stride = strides[head];
    if (stride < 1) {
        return 0;
    }
    const HeadLayout layout{input_size.width / stride,
                            input_size.height / stride,
                            stride,
                            class_num,
                            channels_per_anchor,
                            anchors[head]};
    return decodeHead(output, layout, {letterbox_info, conf_thres}, objects);
}

}  // namespace ai_orvo::model
