#include "graph/graph_hazards.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "graph/graph_lookup.h"

namespace ai_orvo::alg::common {
namespace {

[[noreturn]] void refuse(const onnx::NodeProto& node, const std::string& fault) {
    throw std::invalid_argument(nodeLabel(node) + ": " + fault);
}

/// The whole numbers that an attribute of a sliding window may take; far beyond any real network's.
struct AttributeLimits {
    const char* name;
    std::int64_t least;
    std::int64_t most;
};

constexpr std::int64_t kMostWindow = 32767;
constexpr AttributeLimits kWindowLimits[] = {
    {"kernel_shape", 1, kMostWindow}, {"strides", 1, kMostWindow},        {"dilations", 1, kMostWindow},
    {"pads", 0, kMostWindow},         {"output_padding", 0, kMostWindow}, {"output_shape", 1, kMostWindow},
    {"group", 1, kMostWindow},
};

/// Which input of a convolution its weights are; none for other operators.
std::optional<int> weightsInputOf(const onnx::NodeProto& node) {
    const std::string& kind = node.op_type();
    if (kind == "Conv" || kind == "ConvTranspose" || kind == "ConvInteger" || kind == "DeformConv") {
        return 1;
    }
    if (kind == "QLinearConv") {
        return 3;
    }
    return std::nullopt;
}

bool hasWindow(const onnx::NodeProto& node) {
    return weightsInputOf(node) ||
           isAnyOf(node.op_type(), {"MaxPool", "AveragePool", "LpPool", "MaxUnpool", "MaxRoiPool", "Col2Im"});
}

void checkWindow(const onnx::NodeProto& node) {
    for (const AttributeLimits& limits : kWindowLimits) {
        const onnx::AttributeProto* attribute = attributeOf(node, limits.name);
        if (attribute == nullptr) {
            continue;
        }
        const auto outside = [&limits](std::int64_t value) {
            return value < limits.least || value > limits.most;
        };
        const bool single = attribute->type() == onnx::AttributeProto::INT;
        if ((single && outside(attribute->i())) ||
            std::any_of(attribute->ints().begin(), attribute->ints().end(), outside)) {
            refuse(node, std::string("attribute ") + limits.name + " must lie in " +
                             std::to_string(limits.least) + " .. " + std::to_string(limits.most));
        }
    }
}

/// Channels out, channels in; what follows is the window.
constexpr int kWindowAxis = 2;

/// Shape inference indexes the shape of the weights without asking for its length.
void checkWeights(const onnx::GraphProto& graph, const onnx::NodeProto& node, int input) {
    // The checker counts the inputs of the standard's own operators only.
    if (node.input_size() <= input) {
        refuse(node, "it has no weights");
    }
    const std::string& name = node.input(input);
    const onnx::TensorProto* weights = constantOf(graph, name);
    if (weights == nullptr || weights->dims_size() <= kWindowAxis) {
        refuse(node, "its weights '" + name + "' are no stored tensor of 3 or more dimensions");
    }
}

void stateWindow(const onnx::GraphProto& graph, onnx::NodeProto& node) {
    // Others' operators of these names need not know the attribute.
    const std::optional<int> input = isOfOnnx(node) ? weightsInputOf(node) : std::nullopt;
    if (!input || *input >= node.input_size() || attributeOf(node, "kernel_shape") != nullptr) {
        return;
    }
    const onnx::TensorProto* const weights = constantOf(graph, node.input(*input));
    if (weights == nullptr || weights->dims_size() <= kWindowAxis) {
        return;
    }
    onnx::AttributeProto& window = *node.add_attribute();
    window.set_name("kernel_shape");
    window.set_type(onnx::AttributeProto::INTS);
    window.mutable_ints()->Add(weights->dims().begin() + kWindowAxis, weights->dims().end());
}

/// Shape inference follows nested graphs, where the names are harder to look up.
void checkFlat(const onnx::NodeProto& node) {
    if (holdsGraph(node)) {
        refuse(node, "it holds a graph of its own");
    }
}

}  // namespace

void refuseBadWindows(const onnx::GraphProto& graph) {
    for (const onnx::NodeProto& node : graph.node()) {
        if (hasWindow(node)) {
            checkWindow(node);
        }
        for (const onnx::AttributeProto& attribute : node.attribute()) {
            if (attribute.has_g()) {
                refuseBadWindows(attribute.g());
            }
            std::for_each(attribute.graphs().begin(), attribute.graphs().end(), refuseBadWindows);
        }
    }
}

void refuseHazards(const onnx::ModelProto& model) {
    if (model.functions_size() > 0) {
        throw std::invalid_argument("it defines functions of its own");
    }
    refuseBadWindows(model.graph());
    for (const onnx::NodeProto& node : model.graph().node()) {
        checkFlat(node);
        if (const std::optional<int> weights = weightsInputOf(node)) {
            checkWeights(model.graph(), node, *weights);
        }
    }
}

void stateWindows(onnx::GraphProto& graph) {
    for (onnx::NodeProto& node : *graph.mutable_node()) {
        stateWindow(graph, node);
        for (onnx::AttributeProto& attribute : *node.mutable_attribute()) {
            if (attribute.has_g()) {
                stateWindows(*attribute.mutable_g());
            }
            for (onnx::GraphProto& nested : *attribute.mutable_graphs()) {
                stateWindows(nested);
            }
        }
    }
}

}  // namespace ai_orvo::alg::common
