// A whole `detect` over an engine that does nothing: what the library itself adds to a frame.

#include "scenes.h"
#include "stage.h"

#include "reference/cutoff_boxes.h"
#include "reference/fused_boxes.h"
#include "reference/input_tensor.h"
#include "reference/letterbox.h"
#include "reference/seg_objects.h"
#include "support/comparison.h"
#include "support/tensor_values.h"

#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"
#include "brellix/yolov8_seg.h"

#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace brellix::bench {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::LetterboxInfo;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;

constexpr std::size_t kCells = 6400 + 1600 + 400;

// Each form of network: how its model is made, what a plain reading of its frame gives, and the bytes of the
// output buffers, which every frame has to hand over cleared.

struct FusedForm {
    using Model = ai_orvo::model::YOLOv5;
    static constexpr bool kTakesBytes = false;
    static constexpr std::size_t kOutputBytes = 3 * kCells * (kClasses + 5) * sizeof(float);

    static std::shared_ptr<Model> make() {
        return std::make_shared<Model>("network", "TensorRT", cv::Size(kInput, kInput), 0.25F, 0.65F,
                                       kClasses);
    }

    static std::vector<Object> decoded(const LetterboxInfo& letterbox) {
        TensorMap outputs;
        outputs["output0"].data->resize(kOutputBytes);
        reference::FusedSettings settings;
        settings.letterbox = letterbox;
        settings.numCandidates = 3 * static_cast<int>(kCells);
        return reference::detectFused(settings, outputs["output0"]);
    }
};

/// A cleared tensor as the null engine describes it.
AIBuff clearedBytes(std::size_t count) {
    return testing::int8Tensor(std::vector<std::int8_t>(count), 100, 0.1F);
}

struct CutForm {
    using Model = ai_orvo::model::YOLOv5Cutoff;
    static constexpr bool kTakesBytes = true;
    static constexpr std::size_t kOutputBytes = 3 * kCells * (kClasses + 5);

    static std::shared_ptr<Model> make() {
        return std::make_shared<Model>("network", "RKNN", cv::Size(kInput, kInput), 0.25F, 0.65F, kClasses);
    }

    static std::vector<Object> decoded(const LetterboxInfo& letterbox) {
        TensorMap outputs;
        for (std::size_t head = 0; head < 3; ++head) {
            const auto grid = static_cast<std::size_t>(kInput / reference::kCutoffStrides[head]);
            outputs[reference::kCutoffHeadNames[head]] = clearedBytes(grid * grid * 3 * (kClasses + 5));
        }
        reference::CutoffSettings settings;
        settings.letterbox = letterbox;
        return reference::detectCutoff(settings, outputs);
    }
};

struct SegmentationForm {
    using Model = ai_orvo::model::YOLOv8Seg;
    static constexpr bool kTakesBytes = true;
    static constexpr std::size_t kOutputBytes = kCells * (64 + kClasses + 32) + std::size_t{32} * 160 * 160;

    static std::shared_ptr<Model> make() {
        // Three lines a frame, to wherever standard output leads, would be measured otherwise.
        setenv("SPDLOG_LEVEL", "critical", 1);
        return std::make_shared<Model>(segmentationConfig(true, "RKNN"));
    }

    static std::vector<Object> decoded(const LetterboxInfo& letterbox) {
        TensorMap outputs;
        for (std::size_t head = 0; head < 3; ++head) {
            const auto grid = static_cast<std::size_t>(kInput / (8 << head));
            const std::size_t channels[3] = {64, kClasses, 32};
            for (std::size_t part = 0; part < 3; ++part) {
                outputs["output" + std::to_string(3 * head + part)] =
                    clearedBytes(channels[part] * grid * grid);
            }
        }
        reference::SegSettings settings;
        settings.letterbox = letterbox;
        settings.isQuantized = true;
        settings.classNum = kClasses;
        std::vector<Object> objects;
        reference::detectSeg(settings, outputs, objects);
        return objects;
    }
};

template <typename Form>
std::vector<Object> plainly(const cv::Mat& image) {
    cv::Mat letterboxed;
    const LetterboxInfo letterbox = reference::letterbox(image, letterboxed, {kInput, kInput});
    const auto tensor =
        Form::kTakesBytes ? reference::rawBytes(letterboxed) : reference::floatBlob(letterboxed, true);
    benchmark::DoNotOptimize(tensor.data());
    return Form::decoded(letterbox);
}

template <typename Model>
std::vector<Object> detected(Model& model, const cv::Mat& image) {
    std::vector<Object> objects;
    model.detect(image, objects);
    return objects;
}

template <typename Form>
Measured measure(const cv::Size& size) {
    const auto model = Form::make();
    const auto image = std::make_shared<cv::Mat>(picture(size));
    const auto memory = std::make_shared<std::vector<std::int8_t>>(Form::kOutputBytes);
    const auto input =
        std::make_shared<std::vector<std::int8_t>>(std::size_t{3} * kInput * kInput * sizeof(float));
    Measured measured;
    measured.ours = [=] { benchmark::DoNotOptimize(detected(*model, *image).data()); };
    measured.reference = [=] { benchmark::DoNotOptimize(plainly<Form>(*image).data()); };
    measured.floor = [=] {
        cv::Mat scaled;
        cv::resize(*image, scaled, {kInput, kInput * size.height / size.width}, 0, 0, cv::INTER_LINEAR);
        if (!Form::kTakesBytes) {
            writeOnce(input->data(), input->size());
        }
        writeOnce(memory->data(), memory->size());
    };
    measured.agree = [=] {
        return static_cast<bool>(testing::sameObjects(detected(*model, *image), plainly<Form>(*image)));
    };
    return measured;
}

const bool registered = [] {
    for (const cv::Size& size :
         {cv::Size(640, 480), cv::Size(1280, 720), cv::Size(1920, 1080), cv::Size(3840, 2160)}) {
        const std::string name = std::to_string(size.width) + "x" + std::to_string(size.height);
        const auto add = [&](const std::string& form, Measured (*make)(const cv::Size&)) {
            addStage("detect over a null engine", form + ", " + name, Other::kNone,
                     [=] { return make(size); });
        };
        add("fused", measure<FusedForm>);
        add("cut", measure<CutForm>);
        add("segmentation int8", measure<SegmentationForm>);
    }
    return true;
}();

}  // namespace
}  // namespace brellix::bench
