#include "support/canned_scenes.h"

#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"
#include "brellix/yolov8_seg.h"
#include "reference/cutoff_boxes.h"
#include "support/random.h"
#include "support/tensor_values.h"
#include "support/yolov8_seg_tensors.h"

#include <algorithm>
#include <cctype>

namespace brellix::testing {

using ai_orvo::model::CvModel;
using ai_orvo::model::TensorMap;

namespace {

constexpr int kSide = 96;
constexpr float kConfidence = 0.5F;
constexpr float kOverlap = 0.45F;

constexpr const char* kFused = "fused";
constexpr const char* kCut = "cut";
constexpr const char* kSegmentation = "segmentation";
constexpr const char* kInt8Segmentation = "segmentation, int8";

int cellsOf(int head) {
    const int grid = kSide / reference::kCutoffStrides[head];
    return grid * grid;
}

TensorMap fusedOutputs() {
    Random random(21);
    std::vector<float> values;
    for (int row = 0; row < 3 * (cellsOf(0) + cellsOf(1) + cellsOf(2)); ++row) {
        values.insert(values.end(), {random.real(0.0F, kSide), random.real(0.0F, kSide),
                                     random.real(4.0F, 60.0F), random.real(4.0F, 60.0F)});
        values.push_back(random.chance(0.1) ? random.real(0.5F, 1.0F) : random.real(0.0F, 0.1F));
        for (int label = 0; label < kCannedClasses; ++label) {
            values.push_back(random.real(0.0F, 1.0F));
        }
    }
    return {{"output0", floatTensor(values)}};
}

TensorMap cutOutputs() {
    Random random(22);
    TensorMap outputs;
    for (int head = 0; head < 3; ++head) {
        const int bytes = 3 * (kCannedClasses + 5) * cellsOf(head);
        // Logits from -9 to 3: one in four says yes.
        outputs[reference::kCutoffHeadNames[static_cast<std::size_t>(head)]] =
            int8Tensor(random.bytes(static_cast<std::size_t>(bytes)), 60, 0.05F);
    }
    return outputs;
}

reference::SegSettings segSettings(bool isQuantized) {
    reference::SegSettings settings;
    settings.inputSize = {kSide, kSide};
    settings.isQuantized = isQuantized;
    settings.protoWidth = kSide / 4;
    settings.protoHeight = kSide / 4;
    settings.confThreshold = 0.75F;
    settings.nmsThreshold = 0.65F;
    settings.classNum = kCannedClasses;
    for (std::size_t head = 0; head < settings.grids.size(); ++head) {
        settings.grids[head] = {kSide / settings.strides[head], kSide / settings.strides[head]};
    }
    return settings;
}

TensorMap segOutputs(bool isQuantized) {
    Random random(23);
    return randomSegOutputs(random, segSettings(isQuantized));
}

template <typename Detector>
std::unique_ptr<CvModel> makeDetector(const char* scene) {
    return std::make_unique<Detector>(scene, "RKNN", cv::Size(kSide, kSide), kConfidence, kOverlap,
                                      kCannedClasses);
}

std::unique_ptr<CvModel> makeSegmentation(const char* scene, bool isQuantized) {
    YAML::Node config = segConfig(segSettings(isQuantized));
    config["model_path"] = scene;
    auto model = std::make_unique<ai_orvo::model::YOLOv8Seg>(config);
    model->maxDetections = 16;
    return model;
}

}  // namespace

TensorMap cannedOutputs(const std::string& scene) {
    if (scene == kFused) {
        return fusedOutputs();
    }
    if (scene == kCut) {
        return cutOutputs();
    }
    if (scene == kSegmentation || scene == kInt8Segmentation) {
        return segOutputs(scene == kInt8Segmentation);
    }
    return {};
}

const std::vector<CannedModel>& cannedModels() {
    static const std::vector<CannedModel> models = {
        {kFused, [] { return makeDetector<ai_orvo::model::YOLOv5>(kFused); }},
        {kCut, [] { return makeDetector<ai_orvo::model::YOLOv5Cutoff>(kCut); }},
        {kSegmentation, [] { return makeSegmentation(kSegmentation, false); }},
        {kInt8Segmentation, [] { return makeSegmentation(kInt8Segmentation, true); }},
    };
    return models;
}

std::string identifierOf(const CannedModel& model) {
    std::string identifier = model.name;
    const auto isForeign = [](unsigned char character) { return std::isalnum(character) == 0; };
    identifier.erase(std::remove_if(identifier.begin(), identifier.end(), isForeign), identifier.end());
    return identifier;
}

}  // namespace brellix::testing
