// Decoding the segmentation heads, and all of its post-processing with masks as large as the picture.

#include "scenes.h"
#include "stage.h"

#include "reference/seg_objects.h"
#include "support/comparison.h"

#include "brellix/yolov8_seg.h"

#include <memory>
#include <string>
#include <vector>

namespace brellix::bench {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::Object;
using reference::SegCandidates;

struct SegCase {
    SegCase(int objects, int repeats, bool quantized, const cv::Size& picture,
            Prototypes prototypes = Prototypes::kSmooth)
        : isQuantized(quantized),
          model(segmentationConfig(quantized, "ONNX")),
          outputs(segmentationOutputs(objects, repeats, quantized, prototypes)) {
        model.letterboxInfo = letterboxOf(picture);
        settings.letterbox = model.letterboxInfo;
        settings.isQuantized = isQuantized;
        settings.classNum = kClasses;
        settings.nmsThreshold = kSegmentationNms;
    }

    AIBuff& output(std::size_t head, std::size_t part) {
        return outputs["output" + std::to_string(3 * head + part)];
    }

    SegCandidates ourCandidates() {
        SegCandidates found;
        const auto decode = isQuantized ? &ai_orvo::model::YOLOv8Seg::decodeBoxes_i8
                                        : &ai_orvo::model::YOLOv8Seg::decodeBoxes_fp32;
        for (std::size_t head = 0; head < 3; ++head) {
            const int grid = kInput / model.strides[head];
            (model.*decode)(output(head, 0), output(head, 1), output(head, 2), grid, grid, kInput, kInput,
                            model.strides[head], 16, found.boxes, found.maskCoefs, found.scores,
                            found.classIds, 0.25F);
        }
        return found;
    }

    std::vector<Object> ours() {
        std::vector<Object> objects;
        model.postprocess(outputs, objects);
        return objects;
    }

    std::vector<Object> reference() {
        std::vector<Object> objects;
        reference::detectSeg(settings, outputs, objects);
        return objects;
    }

    void readScores() {
        for (std::size_t head = 0; head < 3; ++head) {
            const std::vector<std::int8_t>& bytes = *output(head, 1).data;
            readOnce(bytes.data(), bytes.size());
        }
    }

    bool isQuantized;
    ai_orvo::model::YOLOv8Seg model;
    ai_orvo::model::TensorMap outputs;
    reference::SegSettings settings;
};

bool sameCandidates(const SegCandidates& a, const SegCandidates& b) {
    return a.boxes == b.boxes && a.maskCoefs == b.maskCoefs && a.scores == b.scores &&
           a.classIds == b.classIds;
}

Measured measureDecoding(int objects, int repeats, bool isQuantized) {
    const auto data = std::make_shared<SegCase>(objects, repeats, isQuantized, cv::Size(1920, 1080));
    Measured measured;
    measured.ours = [=] { benchmark::DoNotOptimize(data->ourCandidates().boxes.data()); };
    measured.reference = [=] {
        benchmark::DoNotOptimize(reference::decodeSegHeads(data->settings, data->outputs).boxes.data());
    };
    measured.floor = [=] { data->readScores(); };
    measured.agree = [=] {
        return sameCandidates(data->ourCandidates(),
                              reference::decodeSegHeads(data->settings, data->outputs));
    };
    return measured;
}

Measured measurePostprocessing(int objects, bool isQuantized, const cv::Size& picture,
                               Prototypes prototypes = Prototypes::kSmooth) {
    const auto data = std::make_shared<SegCase>(objects, 3, isQuantized, picture, prototypes);
    Measured measured;
    measured.ours = [=] { benchmark::DoNotOptimize(data->ours().data()); };
    measured.reference = [=] { benchmark::DoNotOptimize(data->reference().data()); };
    // Scores are read, the boxes' part of the masks is written.
    const auto found = std::make_shared<std::vector<Object>>(data->reference());
    measured.floor = [=] {
        data->readScores();
        for (Object& object : *found) {
            const cv::Rect box(object.rect);
            for (int y = box.y; y < box.br().y; ++y) {
                writeOnce(object.mask.ptr(y) + box.x, static_cast<std::size_t>(box.width));
            }
        }
    };
    measured.agree = [=] {
        return static_cast<bool>(testing::sameObjectsAndMasks(data->ours(), data->reference()));
    };
    return measured;
}

const bool registered = [] {
    for (const bool isQuantized : {false, true}) {
        const std::string form = isQuantized ? "int8" : "float";
        for (const int objects : {0, 20, 60, 100}) {
            addStage("segmentation decode", form + ", " + std::to_string(3 * objects) + " candidates",
                     Other::kNone, [=] { return measureDecoding(objects, 3, isQuantized); });
        }
        addStage("segmentation decode", form + ", 2000 candidates", Other::kNone,
                 [=] { return measureDecoding(60, 34, isQuantized); });
        for (const int objects : {0, 5, 20, 60, 100}) {
            addStage("segmentation post-processing",
                     form + ", " + std::to_string(objects) + " objects, 1920x1080", Other::kNone, [=] {
                         return measurePostprocessing(objects, isQuantized, {1920, 1080});
                     });
        }
    }
    addStage("segmentation post-processing", "float, 20 objects, 1920x1080, prototypes of noise",
             Other::kNone, [] {
                 return measurePostprocessing(20, false, {1920, 1080}, Prototypes::kNoise);
             });
    addStage("segmentation post-processing", "float, 20 objects, 640x480", Other::kNone, [] {
        return measurePostprocessing(20, false, {640, 480});
    });
    addStage("segmentation post-processing", "float, 20 objects, 3840x2160", Other::kNone, [] {
        return measurePostprocessing(20, false, {3840, 2160});
    });
    return true;
}();

}  // namespace
}  // namespace brellix::bench
