#include "graph/graph_quantization.h"

#include <cmath>
#include <cstring>

#include "graph/graph_lookup.h"

namespace ai_orvo::alg::common {
namespace {

constexpr int kValueInput = 0;
constexpr int kScaleInput = 1;
constexpr int kZeroPointInput = 2;

bool isSingleElement(const onnx::TensorProto& tensor) {
    for (const auto extent : tensor.dims()) {
        if (extent != 1) {
            return false;
        }
    }
    return true;
}

std::optional<float> scaleOf(const onnx::GraphProto& graph, const onnx::NodeProto& node) {
    const onnx::TensorProto* tensor = constantOf(graph, node.input(kScaleInput));
    if (tensor == nullptr || tensor->data_type() != onnx::TensorProto::FLOAT || !isSingleElement(*tensor)) {
        return std::nullopt;
    }
    float scale = 0.0F;
    if (tensor->float_data_size() == 1) {
        scale = tensor->float_data(0);
    } else if (tensor->raw_data().size() == sizeof(scale)) {
        std::memcpy(&scale, tensor->raw_data().data(), sizeof(scale));
    }
    return std::isnormal(scale) && scale > 0.0F ? std::optional<float>(scale) : std::nullopt;
}

/// ONNX takes an absent zero point as the unsigned byte 0.
std::optional<std::int32_t> signedZeroPointOf(const onnx::GraphProto& graph, const onnx::NodeProto& node) {
    if (node.input_size() <= kZeroPointInput || node.input(kZeroPointInput).empty()) {
        return -128;
    }
    const onnx::TensorProto* tensor = constantOf(graph, node.input(kZeroPointInput));
    if (tensor == nullptr || !isSingleElement(*tensor)) {
        return std::nullopt;
    }
    std::int32_t stored = 0;
    if (tensor->int32_data_size() == 1) {
        stored = tensor->int32_data(0);
    } else if (tensor->raw_data().size() == 1) {
        stored = static_cast<unsigned char>(tensor->raw_data()[0]);
    } else {
        return std::nullopt;
    }
    if (tensor->data_type() == onnx::TensorProto::UINT8) {
        return static_cast<std::int32_t>(static_cast<std::uint8_t>(stored)) - 128;
    }
    if (tensor->data_type() == onnx::TensorProto::INT8) {
        return static_cast<std::int32_t>(static_cast<std::int8_t>(stored));
    }
    return std::nullopt;
}

const onnx::NodeProto* producerOfKind(const onnx::GraphProto& graph, const std::string& value,
                                      const char* opType) {
    const onnx::NodeProto* node = producerOf(graph, value);
    const bool fits = node != nullptr && node->op_type() == opType && node->input_size() > kScaleInput;
    return fits ? node : nullptr;
}

std::optional<AffineGrid> gridOf(const onnx::GraphProto& graph, const onnx::NodeProto& node) {
    const std::optional<float> scale = scaleOf(graph, node);
    const std::optional<std::int32_t> zeroPoint = signedZeroPointOf(graph, node);
    if (!scale.has_value() || !zeroPoint.has_value()) {
        return std::nullopt;
    }
    return AffineGrid{*scale, *zeroPoint};
}

bool sameGrid(const std::optional<AffineGrid>& a, const std::optional<AffineGrid>& b) {
    return a.has_value() && b.has_value() && a->scale == b->scale && a->zeroPoint == b->zeroPoint;
}

/// Bytes that come from a quantised operator: what they become lies on the grid already. Without a zero point
/// nothing tells whether they are signed.
std::optional<QuantizedOutput> dequantizedOutput(const onnx::GraphProto& graph, const onnx::NodeProto& node,
                                                 const std::string& output) {
    const bool hasZeroPoint = node.input_size() > kZeroPointInput && !node.input(kZeroPointInput).empty();
    const std::optional<AffineGrid> grid = hasZeroPoint ? gridOf(graph, node) : std::nullopt;
    return grid.has_value() ? std::optional(QuantizedOutput{output, *grid}) : std::nullopt;
}

}  // namespace

std::optional<QuantizedOutput> quantizedOutput(const onnx::GraphProto& graph, const std::string& output) {
    const onnx::NodeProto* dequantize = producerOfKind(graph, output, "DequantizeLinear");
    const std::string& bytes = dequantize != nullptr ? dequantize->input(kValueInput) : output;
    const onnx::NodeProto* quantize = producerOfKind(graph, bytes, "QuantizeLinear");
    if (quantize == nullptr) {
        return dequantize != nullptr ? dequantizedOutput(graph, *dequantize, output) : std::nullopt;
    }
    const std::optional<AffineGrid> grid = gridOf(graph, *quantize);
    if (!grid.has_value() || (dequantize != nullptr && !sameGrid(grid, gridOf(graph, *dequantize)))) {
        return std::nullopt;
    }
    return QuantizedOutput{quantize->input(kValueInput), *grid};
}

}  // namespace ai_orvo::alg::common
