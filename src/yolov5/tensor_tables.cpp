#include "yolov5/tensor_tables.h"

#include "common/numeric.h"

#include <cstdint>

namespace ai_orvo::model {
namespace {

constexpr std::int64_t kAnchorsPerCell = 3;

}  // namespace

int countCandidates(const cv::Size& inputSize, const int (&strides)[3]) {
    std::int64_t cells = 0;
    for (const int stride : strides) {
        cells += static_cast<std::int64_t>(inputSize.width / stride) * (inputSize.height / stride);
    }
    return narrowToInt(kAnchorsPerCell * cells);
}

void registerFusedTensors(const cv::Size& inputSize, int numCandidates, int classNum,
                          alg::common::AIEngineConfig& config) {
    config.input_sizes[kFusedInput] = wrappingProduct(3, inputSize.width, inputSize.height);
    config.output_sizes[kFusedOutput] =
        wrappingProduct(wrappingSum(classNum, kFusedFirstClass), numCandidates);
}

}  // namespace ai_orvo::model
