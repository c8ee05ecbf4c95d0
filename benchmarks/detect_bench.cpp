// A whole `detect` over an engine that does nothing: what the library itself adds to a frame.

#include "scenes.h"
#include "stage.h"

#include "property/comparison.h"
#include "reference/cutoff_boxes.h"
#include "reference/fused_boxes.h"
#include "reference/input_tensor.h"
#include "reference/letterbox.h"

#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"

#include <opencv2/imgproc.hpp>

#include <memory>
#include <string>
#include <vector>

namespace brellix::bench {
namespace {

using ai_orvo::model::Object;

/// The bytes of the output buffers, which every frame has to hand over cleared.
constexpr std::size_t kFusedBytes = std::size_t{25200} * (kClasses + 5) * sizeof(float);
constexpr std::size_t kCutBytes = std::size_t{3} * (kClasses + 5) * (6400 + 1600 + 400);

template <typename Model>
std::vector<Object> detected(Model& model, const cv::Mat& image) {
    std::vector<Object> objects;
    model.detect(image, objects);
    return objects;
}

/// Letterbox, tensor and cleared outputs by the plain functions, then their decoding.
std::vector<Object> plainly(const cv::Mat& image, bool isCut) {
    cv::Mat letterboxed;
    const auto info = reference::letterbox(image, letterboxed, {kInput, kInput});
    const auto tensor = isCut ? reference::rawBytes(letterboxed) : reference::floatBlob(letterboxed, true);
    benchmark::DoNotOptimize(tensor.data());
    ai_orvo::model::TensorMap outputs;
    if (isCut) {
        for (std::size_t head = 0; head < 3; ++head) {
            const auto grid = static_cast<std::size_t>(kInput / reference::kCutoffStrides[head]);
            ai_orvo::model::AIBuff& output = outputs[reference::kCutoffHeadNames[head]];
            output.data->resize(3 * (kClasses + 5) * grid * grid);
            output.zp = 100;
            output.scale = 0.1F;
        }
        reference::CutoffSettings settings;
        settings.letterbox = info;
        return reference::detectCutoff(settings, outputs);
    }
    outputs["output0"].data->resize(kFusedBytes);
    reference::FusedSettings settings;
    settings.letterbox = info;
    settings.numCandidates = 25200;
    return reference::detectFused(settings, outputs["output0"]);
}

template <typename Model>
Measured measure(const cv::Size& size, const std::string& framework, bool isCut) {
    const auto model =
        std::make_shared<Model>("network", framework, cv::Size(kInput, kInput), 0.25F, 0.65F, kClasses);
    const auto image = std::make_shared<cv::Mat>(picture(size));
    const auto memory = std::make_shared<std::vector<std::int8_t>>(isCut ? kCutBytes : kFusedBytes);
    const auto input =
        std::make_shared<std::vector<std::int8_t>>(std::size_t{3} * kInput * kInput * sizeof(float));
    Measured measured;
    measured.ours = [=] { benchmark::DoNotOptimize(detected(*model, *image).data()); };
    measured.reference = [=] { benchmark::DoNotOptimize(plainly(*image, isCut).data()); };
    measured.floor = [=] {
        cv::Mat scaled;
        cv::resize(*image, scaled, {kInput, kInput * size.height / size.width}, 0, 0, cv::INTER_LINEAR);
        if (!isCut) {
            writeOnce(input->data(), input->size());
        }
        writeOnce(memory->data(), memory->size());
    };
    measured.agree = [=] {
        return static_cast<bool>(testing::sameObjects(detected(*model, *image), plainly(*image, isCut)));
    };
    return measured;
}

const bool registered = [] {
    using ai_orvo::model::YOLOv5;
    using ai_orvo::model::YOLOv5Cutoff;
    for (const cv::Size& size :
         {cv::Size(640, 480), cv::Size(1280, 720), cv::Size(1920, 1080), cv::Size(3840, 2160)}) {
        const std::string name = std::to_string(size.width) + "x" + std::to_string(size.height);
        addStage("detect over a null engine", "fused, " + name, Other::kNone,
                 [=] { return measure<YOLOv5>(size, "TensorRT", false); });
        addStage("detect over a null engine", "cut, " + name, Other::kNone,
                 [=] { return measure<YOLOv5Cutoff>(size, "RKNN", true); });
    }
    return true;
}();

}  // namespace
}  // namespace brellix::bench
