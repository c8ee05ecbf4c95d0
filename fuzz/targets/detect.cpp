// detect of the three models over an engine that answers anything: picture of any size and type or none,
// outputs grown, cut, taken away, added, failing. What the engine gets is compared with the references, what
// comes out only has to come without harm. Capped: network inputs of 96 x 96, pictures of 128 x 128, 3
// classes.

#include "reference/input_tensor.h"
#include "reference/letterbox.h"
#include "support/comparison.h"
#include "support/engine_scope.h"
#include "support/fake_engine.h"
#include "support/require.h"
#include "support/target.h"
#include "support/tensors.h"

#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"
#include "brellix/yolov8_seg.h"

#include <memory>
#include <string>
#include <vector>

namespace brellix::fuzz {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::CvModel;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;
using testing::FakeEngine;

/// A model, and in what form its network takes pictures.
struct ModelCase {
    std::unique_ptr<CvModel> model;
    cv::Size input;
    bool takesBytes = false;
    bool takesRgb = false;
};

YAML::Node segConfig(FuzzedData& data, const cv::Size& input, const char* framework) {
    YAML::Node config;
    config["model_path"] = "network";
    config["framework"] = framework;
    config["class_num"] = data.integer(1, 3);
    config["conf_thres"] = data.oddNumber(0.0F, 1.0F);
    config["nms_thres"] = data.oddNumber(0.0F, 1.0F);
    config["input_size"] = std::vector<long>{input.width, input.height};
    config["is_quantized"] = data.flag();
    return config;
}

ModelCase modelFrom(FuzzedData& data) {
    const cv::Size input{data.integer(1, 96), data.integer(1, 96)};
    const float conf = data.oddNumber(0.0F, 1.0F);
    const float nms = data.oddNumber(0.0F, 1.0F);
    switch (data.integer(0, 3)) {
        case 0:
            return {std::make_unique<ai_orvo::model::YOLOv5>("network", "TensorRT", input, conf, nms, 3),
                    input, false, true};
        case 1:
            return {std::make_unique<ai_orvo::model::YOLOv5Cutoff>("network", "RKNN", input, conf, nms, 3),
                    input, true, false};
        case 2:
            return {std::make_unique<ai_orvo::model::YOLOv8Seg>(segConfig(data, input, "RKNN")), input, true,
                    false};
        default:
            return {std::make_unique<ai_orvo::model::YOLOv8Seg>(segConfig(data, input, "ONNX")), input, false,
                    false};
    }
}

/// Fills what the model has prepared, as an engine does, or as a broken one does.
void answer(FuzzedData& data, TensorMap& outputs) {
    for (auto& [name, tensor] : outputs) {
        const std::size_t size = tensor.data->size();
        const AIBuff values =
            data.flag() ? floatTensor(data, size / sizeof(float), -4.0F, 4.0F) : int8Tensor(data, size);
        *tensor.data = *values.data;
        tensor.zp = values.zp;
        tensor.scale = values.scale;
        damage(data, tensor);
    }
    if (data.byte() >= 240 && !outputs.empty()) {
        outputs.erase(outputs.begin());
        outputs["another"] = AIBuff();
    }
}

cv::Mat imageFrom(FuzzedData& data) {
    const int type =
        data.byte() < 208 ? CV_8UC3 : CV_MAKETYPE(data.integer(CV_8U, CV_64F), data.integer(1, 5));
    const cv::Mat image = picture(data, 128, type);
    return data.byte() < 248 ? image : cv::Mat();
}

void compareInput(const ModelCase& given, const cv::Mat& image) {
    if (image.type() != CV_8UC3) {
        return;
    }
    cv::Mat letterboxed;
    reference::letterbox(image, letterboxed, given.input);
    const AIBuff& tensor = FakeEngine::instance().inputs.at(0).begin()->second;
    require(*tensor.data == (given.takesBytes ? reference::rawBytes(letterboxed)
                                              : reference::floatBlob(letterboxed, given.takesRgb)),
            "input tensor");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const EngineScope scope;
    FuzzedData data(bytes, size);
    FakeEngine& engine = FakeEngine::instance();
    engine.inference = [&data](TensorMap&, TensorMap& outputs) {
        answer(data, outputs);
        return data.integer(0, 1);
    };
    const ModelCase given = modelFrom(data);
    for (int frame = data.integer(1, 2); frame > 0; --frame) {
        const cv::Mat image = imageFrom(data);
        std::vector<Object> objects;
        engine.inputs.clear();
        try {
            given.model->detect(image, objects);
        } catch (const cv::Exception&) {
            // Pictures and sizes that OpenCV refuses; it says so to the caller.
        }
        if (!engine.inputs.empty()) {
            compareInput(given, image);
        }
    }
    return 0;
}

}  // namespace brellix::fuzz
