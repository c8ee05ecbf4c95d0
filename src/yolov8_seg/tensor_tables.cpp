#include "yolov8_seg/tensor_tables.h"

#include "common/numeric.h"

namespace ai_orvo::model {

using alg::common::AIEngineConfig;

namespace {

constexpr int kBoxChannels = 64;
// The networks have 32 coefficient channels whatever `maskCoefCount` says of the prototypes.
constexpr int kCoefChannels = 32;

void registerOutput(AIEngineConfig& config, const char* name, int channels, int gridH, int gridW) {
    config.output_sizes[name] = wrappingProduct(gridW, gridH, channels);
    config.output_shapes[name] = {1, channels, gridH, gridW};
}

void registerTypes(AIEngineConfig& config, int type) {
    config.input_types[kSegInput] = type;
    for (const char* name : kSegOutputs) {
        config.output_types[name] = type;
    }
}

}  // namespace

void registerSegTensors(const SegTensorLayout& layout, AIEngineConfig& config) {
    const cv::Size size = layout.inputSize;
    config.input_sizes[kSegInput] = wrappingProduct(3, size.width, size.height);
    config.input_shapes[kSegInput] = {1, 3, size.height, size.width};
    for (std::size_t head = 0; head < kSegHeads; ++head) {
        const int gridW = size.width / layout.strides[head];
        const int gridH = size.height / layout.strides[head];
        registerOutput(config, kSegHeadNames[head].box, kBoxChannels, gridH, gridW);
        registerOutput(config, kSegHeadNames[head].score, layout.classNum, gridH, gridW);
        registerOutput(config, kSegHeadNames[head].maskCoef, kCoefChannels, gridH, gridW);
    }
    registerOutput(config, kSegProto, layout.prototypes, layout.protoSize.height, layout.protoSize.width);
    registerTypes(config, layout.isQuantized ? alg::common::kElementInt8 : alg::common::kElementFloat32);
}

}  // namespace ai_orvo::model
