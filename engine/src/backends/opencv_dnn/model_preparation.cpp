#include "backends/opencv_dnn/model_preparation.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "backends/opencv_dnn/graph_facts.h"
#include "graph/graph_lookup.h"
#include "graph/quantized_ends.h"

namespace ai_orvo::alg::common {
namespace {

/// The constant's values; nothing for a value that is computed or is no int64 tensor.
std::optional<std::vector<std::int64_t>> int64Values(const onnx::GraphProto& graph, const std::string& name) {
    const onnx::TensorProto* tensor = constantOf(graph, name);
    if (tensor == nullptr || tensor->data_type() != onnx::TensorProto::INT64) {
        return std::nullopt;
    }
    if (tensor->raw_data().empty()) {
        return std::vector<std::int64_t>(tensor->int64_data().begin(), tensor->int64_data().end());
    }
    std::vector<std::int64_t> values(tensor->raw_data().size() / sizeof(std::int64_t));
    std::memcpy(values.data(), tensor->raw_data().data(), values.size() * sizeof(std::int64_t));
    return values;
}

/// From operator set 13 on the sizes are an input, which the importer ignores: it splits into equal parts.
void moveSplitSizesToAttribute(onnx::GraphProto& graph) {
    constexpr int kSizesInput = 1;
    for (onnx::NodeProto& node : *graph.mutable_node()) {
        if (node.op_type() != "Split" || node.input_size() <= kSizesInput) {
            continue;
        }
        const std::optional<std::vector<std::int64_t>> sizes = int64Values(graph, node.input(kSizesInput));
        if (!sizes.has_value()) {
            continue;
        }
        onnx::AttributeProto* attribute = node.add_attribute();
        attribute->set_name("split");
        attribute->set_type(onnx::AttributeProto::INTS);
        attribute->mutable_ints()->Add(sizes->begin(), sizes->end());
        node.mutable_input()->DeleteSubrange(kSizesInput, node.input_size() - kSizesInput);
    }
}

bool hasAxisOfFirstInput(const onnx::NodeProto& node) {
    return isAnyOf(node.op_type(), {"Concat", "Gather", "LogSoftmax", "Softmax", "Split"});
}

void forwardLoneConcats(onnx::GraphProto& graph) {
    for (onnx::NodeProto& node : *graph.mutable_node()) {
        if (node.op_type() == "Concat" && node.input_size() == 1) {
            node.set_op_type("Identity");
            node.clear_attribute();
        }
    }
}

onnx::AttributeProto& attributeFor(onnx::NodeProto& node, const std::string& name,
                                   onnx::AttributeProto::AttributeType type) {
    for (onnx::AttributeProto& attribute : *node.mutable_attribute()) {
        if (attribute.name() == name) {
            return attribute;
        }
    }
    onnx::AttributeProto& attribute = *node.add_attribute();
    attribute.set_name(name);
    attribute.set_type(type);
    return attribute;
}

void removeAttribute(onnx::NodeProto& node, const std::string& name) {
    auto& attributes = *node.mutable_attribute();
    attributes.erase(std::remove_if(attributes.begin(), attributes.end(),
                                    [&name](const auto& attribute) { return attribute.name() == name; }),
                     attributes.end());
}

/// The importer takes axis 1 for granted, as older operator sets did.
void stateLastAxis(onnx::NodeProto& node, std::int64_t opset) {
    constexpr std::int64_t kFirstOpsetOfLastAxis = 13;
    const bool isSoftmax = node.op_type() == "Softmax" || node.op_type() == "LogSoftmax";
    if (isSoftmax && opset >= kFirstOpsetOfLastAxis && attributeOf(node, "axis") == nullptr) {
        attributeFor(node, "axis", onnx::AttributeProto::INT).set_i(-1);
    }
}

void countFromTheFront(onnx::NodeProto& node, const GraphFacts& facts) {
    if (!hasAxisOfFirstInput(node) || node.input_size() == 0) {
        return;
    }
    const std::optional<std::int64_t> rank = facts.rankOf(node.input(0));
    for (onnx::AttributeProto& attribute : *node.mutable_attribute()) {
        if (attribute.name() == "axis" && attribute.i() < 0 && rank.has_value()) {
            attribute.set_i(attribute.i() + *rank);
        }
    }
}

/// The integers of the attribute, one per axis; ones where the node has none.
Extents integersOf(const onnx::NodeProto& node, const std::string& name, std::size_t count) {
    const onnx::AttributeProto* attribute = attributeOf(node, name);
    return attribute == nullptr ? Extents(count, 1)
                                : Extents(attribute->ints().begin(), attribute->ints().end());
}

/// The kernel's extents; empty where they are unknown.
Extents kernelOf(const onnx::NodeProto& node, const GraphFacts& facts) {
    if (attributeOf(node, "kernel_shape") != nullptr) {
        return integersOf(node, "kernel_shape", 0);
    }
    const Extents* weights =
        node.op_type() == "Conv" && node.input_size() > 1 ? facts.shapeOf(node.input(1)) : nullptr;
    return weights == nullptr || weights->size() < 2 ? Extents{}
                                                     : Extents(weights->begin() + 2, weights->end());
}

/// The importer pads as for SAME_UPPER, which puts the odd element at the end.
void stateLowerPadding(onnx::NodeProto& node, const GraphFacts& facts) {
    const Extents* shape = node.input_size() > 0 ? facts.shapeOf(node.input(0)) : nullptr;
    const bool isWindow =
        node.op_type() == "Conv" || node.op_type() == "MaxPool" || node.op_type() == "AveragePool";
    if (!isWindow || textOf(node, "auto_pad", "NOTSET") != "SAME_LOWER" || shape == nullptr ||
        shape->size() < 3) {
        return;
    }
    const std::size_t axes = shape->size() - 2;
    const Extents kernel = kernelOf(node, facts);
    const Extents strides = integersOf(node, "strides", axes);
    const Extents dilations = integersOf(node, "dilations", axes);
    if (kernel.size() != axes || strides.size() != axes || dilations.size() != axes) {
        return;
    }
    Extents pads(2 * axes);
    for (std::size_t i = 0; i < axes; ++i) {
        const std::int64_t in = (*shape)[i + 2];
        const std::int64_t out = (in + strides[i] - 1) / strides[i];
        const std::int64_t reach = (out - 1) * strides[i] + (kernel[i] - 1) * dilations[i] + 1;
        const std::int64_t missing = std::max<std::int64_t>(reach - in, 0);
        pads[i + axes] = missing / 2;
        pads[i] = missing - missing / 2;
    }
    removeAttribute(node, "auto_pad");
    removeAttribute(node, "ceil_mode");
    attributeFor(node, "pads", onnx::AttributeProto::INTS).mutable_ints()->Assign(pads.begin(), pads.end());
}

}  // namespace

void stateAttributes(onnx::ModelProto& model, const onnx::ModelProto& inferred) {
    const GraphFacts facts(model, inferred);
    for (onnx::NodeProto& node : *model.mutable_graph()->mutable_node()) {
        stateLastAxis(node, facts.opset());
        countFromTheFront(node, facts);
        stateLowerPadding(node, facts);
    }
}

OpencvModel prepareForOpencv(const onnx::ModelProto& model) {
    OpencvModel prepared{model, {}};
    onnx::GraphProto& graph = *prepared.model.mutable_graph();
    moveSplitSizesToAttribute(graph);
    forwardLoneConcats(graph);
    prepared.outputs = endBeforeQuantization(graph);
    return prepared;
}

}  // namespace ai_orvo::alg::common
