#include "yolov8_seg/seg_fixture.h"

#include "support/fake_engine.h"
#include "support/tensor_values.h"

#include <cstring>

namespace brellix::testing {

using namespace ai_orvo::model;

namespace {

constexpr int kClasses = 2;
constexpr int kBins = 16;
constexpr int kCoefs = 32;

int gridOf(int head) {
    return 8 >> head;
}

std::string nameOf(int head, int kind) {
    return "output" + std::to_string(3 * head + kind);
}

}  // namespace

std::string segConfigText(const std::string& framework, bool quantized) {
    return "model_path: net.onnx\nframework: " + framework +
           "\nclass_num: 2\nconf_thres: 0.5\nnms_thres: 0.5\ninput_size: [64, 64]\nis_quantized: " +
           (quantized ? "true" : "false") + "\n";
}

std::unique_ptr<YOLOv8Seg> makeSegModel(bool quantized) {
    FakeEngine::reset();
    auto model = std::make_unique<YOLOv8Seg>(YAML::Load(segConfigText("ONNX", quantized)));
    model->letterboxInfo = {1.0F, 0.0F, 0.0F, 64.0F, 64.0F};
    return model;
}

void setFloat(AIBuff& tensor, std::size_t index, float value) {
    std::memcpy(tensor.data->data() + index * sizeof(float), &value, sizeof(float));
}

TensorMap quietFloatOutputs() {
    TensorMap outputs;
    for (int head = 0; head < 3; ++head) {
        const auto cells = static_cast<std::size_t>(gridOf(head) * gridOf(head));
        outputs[nameOf(head, 0)] = floatTensor(std::vector<float>(cells * 4 * kBins, 0.0F));
        outputs[nameOf(head, 1)] = floatTensor(std::vector<float>(cells * kClasses, -20.0F));
        outputs[nameOf(head, 2)] = floatTensor(std::vector<float>(cells * kCoefs, 0.0F));
    }
    outputs["proto"] = floatTensor(std::vector<float>(kCoefs * 16 * 16, 0.0F));
    return outputs;
}

void placeObject(TensorMap& outputs, int head, int row, int column, int label, float score, int distance,
                 float coefficient) {
    const auto cells = static_cast<std::size_t>(gridOf(head) * gridOf(head));
    const auto cell = static_cast<std::size_t>(row * gridOf(head) + column);
    for (std::size_t side = 0; side < 4; ++side) {
        // One bin that outweighs the others makes the expectation the bin itself.
        setFloat(outputs[nameOf(head, 0)], (side * kBins + static_cast<std::size_t>(distance)) * cells + cell,
                 60.0F);
    }
    setFloat(outputs[nameOf(head, 1)], static_cast<std::size_t>(label) * cells + cell, score);
    setFloat(outputs[nameOf(head, 2)], cell, coefficient);
}

void fillFirstPrototype(TensorMap& outputs, float value) {
    for (std::size_t i = 0; i < 16 * 16; ++i) {
        setFloat(outputs["proto"], i, value);
    }
}

}  // namespace brellix::testing
