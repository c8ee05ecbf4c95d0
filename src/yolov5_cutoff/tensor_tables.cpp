#include "yolov5_cutoff/tensor_tables.h"

#include "common/numeric.h"

#include <cstdint>

namespace ai_orvo::model {
namespace {

constexpr std::int64_t kBoxAndObjectness = 5;

}  // namespace

int channelsPerAnchor(int classNum) {
    return narrowToInt(classNum + kBoxAndObjectness);
}

void registerCutTensors(const cv::Size& inputSize, const int (&strides)[kCutHeads], int anchorChannels,
                        alg::common::AIEngineConfig& config) {
    config.input_sizes[kCutInput] = wrappingProduct(inputSize.width, inputSize.height, 3);
    for (int head = 0; head < kCutHeads; ++head) {
        const int stride = strides[head];
        const int cells = wrappingProduct(inputSize.width / stride, inputSize.height / stride);
        config.output_sizes[kCutOutputs[head]] = wrappingProduct(cells, anchorChannels, kCutAnchorsPerHead);
    }
}

}  // namespace ai_orvo::model
