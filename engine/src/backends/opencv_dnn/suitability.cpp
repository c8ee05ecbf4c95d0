#include "backends/opencv_dnn/suitability.h"

#include <algorithm>
#include <cstdint>
#include <unordered_set>

#include "backends/opencv_dnn/graph_facts.h"
#include "graph/element_types.h"
#include "graph/graph_lookup.h"

namespace ai_orvo::alg::common {
namespace {

std::string badInput(const TensorDescription& input) {
    std::string found;
    std::string fix;
    if (input.elementType != onnx::TensorProto::FLOAT) {
        found = elementTypeName(input.elementType) + ", it takes float32 only";
        fix = "in float32";
    }
    if (!input.isStatic()) {
        found += (found.empty() ? "" : "; its shape is ") + input.describeShape() +
                 ", it takes static shapes only";
        fix += (fix.empty() ? "" : " and ") + std::string("with a static shape (batch 1)");
    }
    return found.empty() ? found : "input '" + input.name + "' is " + found + ": export the network " + fix;
}

bool isInput(const EngineNetwork& network, const std::string& name) {
    return std::any_of(network.inputs().begin(), network.inputs().end(),
                       [&name](const TensorDescription& input) { return input.name == name; });
}

std::string badOutput(const EngineNetwork& network, const TensorDescription& output) {
    if (output.elementType != onnx::TensorProto::FLOAT && !output.grid.has_value()) {
        return "output '" + output.name + "' is " + elementTypeName(output.elementType) +
               ", it gives float32 only: export the network with float32 outputs";
    }
    if (!output.isStatic()) {
        return "output '" + output.name + "' has the shape " + output.describeShape() +
               ": export the network with a static shape (batch 1) and the shapes of its outputs";
    }
    if (isInput(network, output.name)) {
        return "output '" + output.name + "' is an input itself, nothing computes it: remove it";
    }
    return {};
}

std::string badStoredTensor(const onnx::TensorProto& tensor) {
    switch (tensor.data_type()) {
        case onnx::TensorProto::FLOAT:
        case onnx::TensorProto::DOUBLE:
        case onnx::TensorProto::INT8:
        case onnx::TensorProto::UINT8:
        case onnx::TensorProto::INT32:
        case onnx::TensorProto::INT64:
        case onnx::TensorProto::BOOL:
            return {};
        default:
            return "tensor '" + tensor.name() + "' is stored as " + elementTypeName(tensor.data_type()) +
                   ": export the network in float32";
    }
}

bool isQuantizedOperator(const std::string& opType) {
    return opType.rfind("QLinear", 0) == 0 ||
           isAnyOf(opType, {"QuantizeLinear", "DequantizeLinear", "DynamicQuantizeLinear", "ConvInteger",
                            "MatMulInteger"});
}

std::string badNode(const onnx::NodeProto& node) {
    if (isQuantizedOperator(node.op_type())) {
        return nodeLabel(node) +
               " stands inside the graph: give the float network, the engine quantises its outputs";
    }
    // What follows goes by the operators' names, and nobody has counted the inputs of others' operators.
    if (!isOfOnnx(node)) {
        return nodeLabel(node) + " is of the domain '" + node.domain() +
               "': export the network with ONNX's own operators";
    }
    if (holdsGraph(node)) {
        return nodeLabel(node) + " holds a graph of its own: export the network without control flow";
    }
    if (node.op_type() == "Split" && node.input_size() > 1) {
        return nodeLabel(node) + " computes its sizes: export the network with opset 12";
    }
    for (const onnx::AttributeProto& attribute : node.attribute()) {
        const std::string reason = attribute.has_t() ? badStoredTensor(attribute.t()) : "";
        if (!reason.empty()) {
            return nodeLabel(node) + ": " + reason;
        }
    }
    return {};
}

template <class Items, class Check>
std::string firstReason(const Items& items, Check check) {
    for (const auto& item : items) {
        std::string reason = check(item);
        if (!reason.empty()) {
            return reason;
        }
    }
    return {};
}

/// What the importer computes itself where it finds nothing but constants.
bool isFoldable(const std::string& opType) {
    return isAnyOf(opType, {"Add", "Cast", "Concat", "Constant", "Div", "Expand", "Flatten",
                            "ConstantOfShape", "Gather", "Identity", "Mul", "Pow", "Reshape", "Shape",
                            "Slice", "Sub", "Squeeze", "Transpose", "Unsqueeze"});
}

bool isConstantNode(const onnx::NodeProto& node, const std::unordered_set<std::string>& constants) {
    if (node.input_size() == 0) {
        return node.op_type() == "Constant";
    }
    return std::all_of(node.input().begin(), node.input().end(),
                       [&constants](const std::string& name) { return constants.count(name) != 0; });
}

/// The importer makes a layer without inputs of any other operator on constants, and looks at its first
/// input.
std::string badConstantOperand(const onnx::GraphProto& graph) {
    std::unordered_set<std::string> constants{""};
    for (const onnx::TensorProto& tensor : graph.initializer()) {
        constants.insert(tensor.name());
    }
    for (const onnx::NodeProto& node : graph.node()) {
        const bool constant = isConstantNode(node, constants);
        if (constant && !isFoldable(node.op_type())) {
            return nodeLabel(node) +
                   " has only constants as inputs: simplify the network, so that they are folded";
        }
        if (constant) {
            constants.insert(node.output().begin(), node.output().end());
        }
    }
    return {};
}

std::string badGraph(const onnx::GraphProto& graph) {
    if (graph.sparse_initializer_size() > 0) {
        return "it stores sparse tensors: export the network with dense weights";
    }
    std::string reason = firstReason(graph.initializer(), badStoredTensor);
    if (reason.empty()) {
        reason = firstReason(graph.node(), badNode);
    }
    return reason.empty() ? badConstantOperand(graph) : reason;
}

/// Before this one operands of different shapes were matched by an attribute. The importer matches them as
/// later sets do, nobody checks whether they can be, and what does not fit is written behind the end of the
/// result.
constexpr std::int64_t kFirstOpset = 7;

std::string badOpset(std::int64_t opset) {
    if (opset >= kFirstOpset) {
        return {};
    }
    return "it is of opset " + std::to_string(opset) + ", older than " + std::to_string(kFirstOpset) +
           ": export the network with opset 12";
}

}  // namespace

std::string reasonAgainstOpencv(const EngineNetwork& network, const OpencvModel& prepared) {
    std::string reason = firstReason(network.inputs(), badInput);
    if (reason.empty()) {
        reason = badOpset(network.opset());
    }
    if (reason.empty()) {
        reason = badGraph(prepared.model.graph());
    }
    if (reason.empty()) {
        reason = firstReason(network.outputs(), [&network](const TensorDescription& output) {
            return badOutput(network, output);
        });
    }
    return reason;
}

}  // namespace ai_orvo::alg::common
