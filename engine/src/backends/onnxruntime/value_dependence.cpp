#include "backends/onnxruntime/value_dependence.h"

#include <algorithm>
#include <unordered_set>

#include "graph/graph_lookup.h"

namespace ai_orvo::alg::common {
namespace {

bool isAmong(const std::unordered_set<std::string>& kinds, const onnx::NodeProto& node) {
    return isOfOnnx(node) && kinds.count(node.op_type()) != 0;
}

/// They look at no values, only at shapes, which are the same at each run.
const std::unordered_set<std::string>& shapeReaders() {
    static const std::unordered_set<std::string> kinds{"Shape", "Size"};
    return kinds;
}

/// They take all values of all operands.
const std::unordered_set<std::string>& arithmetic() {
    // clang-format off
    static const std::unordered_set<std::string> kinds{
        "Abs", "Add", "AveragePool", "BatchNormalization", "Cast", "Ceil", "Clip", "Concat", "Conv",
        "ConvTranspose", "DepthToSpace", "DequantizeLinear", "DynamicQuantizeLinear", "Elu",
        "Equal", "Erf", "Exp", "Flatten", "Floor", "Gelu", "Gemm", "GlobalMaxPool", "GlobalAveragePool",
        "Greater", "GreaterOrEqual", "HardSigmoid", "HardSwish", "Identity", "InstanceNormalization",
        "LeakyRelu", "LayerNormalization", "Less", "LessOrEqual", "Log", "LogSoftmax", "MatMul", "Max",
        "MaxPool", "Min", "Mish", "Mul", "Neg", "Not", "Pow", "PRelu", "QLinearConv", "QLinearMatMul",
        "QuantizeLinear", "Reciprocal", "Relu", "Round", "Selu", "Sigmoid", "Sign", "Softmax",
        "Softplus", "Softsign", "SpaceToDepth", "Sqrt", "Sub", "Sum", "Tanh", "ThresholdedRelu",
        "Transpose", "Where"};
    // clang-format on
    return kinds;
}

/// Their first operand is what they move, reduce or divide; the others say where to, or by what: of whole
/// numbers a division by 0 fails.
const std::unordered_set<std::string>& movers() {
    static const std::unordered_set<std::string> kinds{
        "ArgMax",    "ArgMin",     "Div",       "Expand",    "Gather",    "Pad",      "ReduceL2",
        "ReduceMax", "ReduceMean", "ReduceMin", "ReduceSum", "Reshape",   "Resize",   "Slice",
        "Split",     "Squeeze",    "Tile",      "TopK",      "Unsqueeze", "Upsample",
    };
    return kinds;
}

/// For a node that has inputs.
template <class IsDependent>
bool takesValues(const onnx::NodeProto& node, IsDependent isDependent) {
    const bool placesAreFixed = std::none_of(node.input().begin() + 1, node.input().end(), isDependent);
    return isAmong(arithmetic(), node) || (isAmong(movers(), node) && placesAreFixed);
}

}  // namespace

bool mayFailOnValues(const onnx::GraphProto& graph, const std::vector<std::string>& inputs) {
    std::unordered_set<std::string> dependent(inputs.begin(), inputs.end());
    std::unordered_set<std::string> constant{""};
    for (const onnx::TensorProto& tensor : graph.initializer()) {
        constant.insert(tensor.name());
    }
    // A value that no node before this one computes may be anything.
    const auto isDependent = [&](const std::string& name) {
        return dependent.count(name) != 0 || constant.count(name) == 0;
    };
    for (const onnx::NodeProto& node : graph.node()) {
        const bool depends = std::any_of(node.input().begin(), node.input().end(), isDependent) &&
                             !isAmong(shapeReaders(), node);
        // A graph inside a node reads values that the node does not list.
        if (holdsGraph(node) || (depends && !takesValues(node, isDependent))) {
            return true;
        }
        (depends ? dependent : constant).insert(node.output().begin(), node.output().end());
    }
    return false;
}

}  // namespace ai_orvo::alg::common
