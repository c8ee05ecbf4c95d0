#include "yolov5_cutoff/tensor_tables.h"

#include "common/numeric.h"

namespace ai_orvo::model {
int channelsPerAnchor(int classNum) {
    return wrappingSum(classNum, kCutFirstClass);
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
