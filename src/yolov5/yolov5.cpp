#include "brellix/yolov5.h"

#include "brellix/nms.h"
#include "common/framework.h"
#include "common/input_tensor.h"
#include "common/model_config.h"
#include "common/run_report.h"
#include "common/tensors.h"
#include "yolov5/decode.h"
#include "yolov5/tensor_tables.h"

#include <iostream>
#include <locale>
#include <sstream>

namespace ai_orvo::model {
namespace {

/// Derives what follows from the settings, tells the engine the tensors and lets it load the network.
void registerTensorsAndInit(YOLOv5& model) {
    model.num_candidates = countCandidates(model.input_size, model.strides);
    registerFusedTensors(model.input_size, model.num_candidates, model.class_num, model.config);
    initEngine(model.engine, model.config);
}

/// One write, so that lines of several threads stay whole; the numbers do not follow the process's locale.
void printLetterbox(const LetterboxInfo& info) {
    std::ostringstream line;
    // A stream keeps a lack of memory to itself, and the line would end where the memory did.
    line.exceptions(std::ios::badbit);
    line.imbue(std::locale::classic());
    line << "dw: " << info.dw << ", dh: " << info.dh << ", ratio: " << info.ratio << '\n';
    std::cout << line.str();
}

}  // namespace

YOLOv5::YOLOv5(const std::string& model_path, std::string framework, cv::Size inputSize, float conf,
               float nms, int classNum)
    : input_size(inputSize), conf_thres(conf), nms_thres(nms), class_num(classNum) {
    config.model_path = model_path;
    config.framework = frameworkCode(framework, false);
    if (config.framework == alg::common::kFrameworkRknn) {
        config.rknn_flag = true;
    }
    registerTensorsAndInit(*this);
}

YOLOv5::YOLOv5(const std::string& config_path) {
    // Nothing is delegated: a finished constructor's destructor would print although no model came to be.
    const ModelConfig file = readModelConfig(config_path);
    input_size = file.inputSize;
    conf_thres = file.confThres;
    nms_thres = file.nmsThres;
    class_num = file.classNum;
    config.model_path = file.modelPath;
    registerTensorsAndInit(*this);
}

YOLOv5::~YOLOv5() {
    try {
        std::cout << "Destruct yolov5\n";
    } catch (...) {
        // An application may have asked for exceptions, its own stream buffer's reach us as they are; out of
        // a destructor any would end the process.
        return;
    }
}

void YOLOv5::detect(const cv::Mat& image, std::vector<Object>& objects) {
    StageClock clock;
    TensorMap inputs;
    TensorMap outputs;
    inputs[kFusedInput] = floatInput(image, input_size, ChannelOrder::kRgb, letterbox_info);
    outputs[kFusedOutput] = outputTensor(config.output_sizes[kFusedOutput], sizeof(float));
    clock.preprocessed();
    clock.infer(engine, inputs, outputs);
    postprocess(outputs, objects);
    clock.postprocessed();
}

void YOLOv5::postprocess(TensorMap& outputs, std::vector<Object>& objects) {
    objects.clear();
    const AIBuff& output = outputs[kFusedOutput];
    printLetterbox(letterbox_info);
    decodeFusedOutput(output, {letterbox_info, conf_thres, class_num, num_candidates}, objects);
    nms(objects, nms_thres);
}

}  // namespace ai_orvo::model
