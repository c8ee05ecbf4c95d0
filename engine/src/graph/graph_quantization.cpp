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

/// 0 where the value is no constant of one float.
float constantFloat(const onnx::GraphProto& graph, const std::string& value) {
    const onnx::NodeProto* producer = producerOf(graph, value);
    if (producer != nullptr && isOnnxOperator(*producer, "Constant")) {
        if (const onnx::AttributeProto* attribute = attributeOf(*producer, "value_float")) {
            return attribute->f();
        }
    }
    const onnx::TensorProto* tensor = constantOf(graph, value);
    float number = 0.0F;
    if (tensor == nullptr || tensor->data_type() != onnx::TensorProto::FLOAT || !isSingleElement(*tensor)) {
        return number;
    }
    if (tensor->float_data_size() == 1) {
        number = tensor->float_data(0);
    } else if (tensor->raw_data().size() == sizeof(number)) {
        std::memcpy(&number, tensor->raw_data().data(), sizeof(number));
    }
    return number;
}

std::optional<float> scaleOf(const onnx::GraphProto& graph, const onnx::NodeProto& node) {
    const float scale = constantFloat(graph, node.input(kScaleInput));
    return std::isnormal(scale) && scale > 0.0F ? std::optional<float>(scale) : std::nullopt;
}

bool hasZeroPoint(const onnx::NodeProto& node) {
    return node.input_size() > kZeroPointInput && !node.input(kZeroPointInput).empty();
}

/// The type that a QuantizeLinear gives.
std::int32_t byteTypeOf(const onnx::GraphProto& graph, const onnx::NodeProto& quantize) {
    if (hasZeroPoint(quantize)) {
        const onnx::TensorProto* tensor = constantOf(graph, quantize.input(kZeroPointInput));
        return tensor != nullptr ? tensor->data_type() : onnx::TensorProto::UNDEFINED;
    }
    const onnx::AttributeProto* stated = attributeOf(quantize, "output_dtype");
    std::int64_t type = onnx::TensorProto::UNDEFINED;
    if (stated != nullptr) {
        type = stated->i();
    }
    return type == onnx::TensorProto::UNDEFINED ? onnx::TensorProto::UINT8 : static_cast<std::int32_t>(type);
}

/// ONNX takes an absent zero point as the byte 0.
std::optional<std::int32_t> signedZeroOf(std::int32_t byteType) {
    switch (byteType) {
        case onnx::TensorProto::UINT8:
            return -128;
        case onnx::TensorProto::INT8:
            return 0;
        default:
            return std::nullopt;
    }
}

std::optional<std::int32_t> signedZeroPointOf(const onnx::GraphProto& graph, const onnx::NodeProto& node,
                                              std::int32_t byteType) {
    if (!hasZeroPoint(node)) {
        return signedZeroOf(byteType);
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
    const bool fits = node != nullptr && isOnnxOperator(*node, opType) && node->input_size() > kScaleInput;
    return fits ? node : nullptr;
}

/// \param byteType what an absent zero point is a zero of.
std::optional<AffineGrid> gridOf(const onnx::GraphProto& graph, const onnx::NodeProto& node,
                                 std::int32_t byteType) {
    const std::optional<float> scale = scaleOf(graph, node);
    const std::optional<std::int32_t> zeroPoint = signedZeroPointOf(graph, node, byteType);
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
    const std::optional<AffineGrid> grid = gridOf(graph, node, onnx::TensorProto::UNDEFINED);
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
    const std::int32_t byteType = byteTypeOf(graph, *quantize);
    const std::optional<AffineGrid> grid = gridOf(graph, *quantize, byteType);
    if (!grid.has_value() ||
        (dequantize != nullptr && !sameGrid(grid, gridOf(graph, *dequantize, byteType)))) {
        return std::nullopt;
    }
    return QuantizedOutput{quantize->input(kValueInput), *grid};
}

}  // namespace ai_orvo::alg::common
