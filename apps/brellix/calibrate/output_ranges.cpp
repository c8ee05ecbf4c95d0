#include "calibrate/output_ranges.h"

#include "run/detect_picture.h"

#include <brellix/letterbox.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace brellix::app {
namespace {

using ai_orvo::alg::common::ValueRange;
using ai_orvo::model::AIBuff;
using ai_orvo::model::AIEngineConfig;
using ai_orvo::model::TensorMap;

/// The bytes of the letterboxed picture: the engine makes of them the planes of floats that the network
/// takes.
AIBuff inputTensor(const cv::Mat& picture, cv::Size inputSize) {
    cv::Mat letterboxed;
    ai_orvo::model::letterbox(picture, letterboxed, inputSize);
    AIBuff tensor;
    const std::size_t rowBytes = static_cast<std::size_t>(letterboxed.cols) * letterboxed.elemSize();
    for (int y = 0; y < letterboxed.rows; ++y) {
        const auto* const row = letterboxed.ptr<std::int8_t>(y);
        tensor.data->insert(tensor.data->end(), row, row + rowBytes);
    }
    return tensor;
}

/// Buffers of four bytes an element, by which the engine knows that floats are wanted.
TensorMap floatOutputs(const AIEngineConfig& config) {
    TensorMap outputs;
    for (const auto& [name, elements] : config.output_sizes) {
        outputs[name].data->resize(static_cast<std::size_t>(elements) * sizeof(float));
    }
    return outputs;
}

std::vector<float> floatsOf(const AIBuff& tensor) {
    std::vector<float> values(tensor.data->size() / sizeof(float));
    std::memcpy(values.data(), tensor.data->data(), values.size() * sizeof(float));
    return values;
}

}  // namespace

void OutputRanges::add(const cv::Mat& picture) {
    TensorMap inputs;
    inputs[model_.config.input_sizes.begin()->first] = inputTensor(picture, inputSize_);
    TensorMap outputs = floatOutputs(model_.config);
    const int status = model_.engine.DoInference(inputs, outputs);
    if (status != 0) {
        throw engineFailed(status);
    }
    for (const auto& [name, tensor] : outputs) {
        merge(name, tensor);
    }
}

void OutputRanges::merge(const std::string& tensor, const AIBuff& values) {
    const std::vector<float> floats = floatsOf(values);
    const ValueRange added = ai_orvo::alg::common::finiteRange(floats.data(), floats.size());
    ValueRange& range = ranges_.emplace(tensor, added).first->second;
    range.minimum = std::min(range.minimum, added.minimum);
    range.maximum = std::max(range.maximum, added.maximum);
}

}  // namespace brellix::app
