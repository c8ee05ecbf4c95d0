#include "graph/graph_lookup.h"

#include <algorithm>

namespace ai_orvo::alg::common {

const onnx::NodeProto* producerOf(const onnx::GraphProto& graph, const std::string& value) {
    for (const onnx::NodeProto& node : graph.node()) {
        if (std::find(node.output().begin(), node.output().end(), value) != node.output().end()) {
            return &node;
        }
    }
    return nullptr;
}

const onnx::TensorProto* constantOf(const onnx::GraphProto& graph, const std::string& value) {
    for (const onnx::TensorProto& initializer : graph.initializer()) {
        if (initializer.name() == value) {
            return &initializer;
        }
    }
    const onnx::NodeProto* producer = producerOf(graph, value);
    if (producer == nullptr || !isOnnxOperator(*producer, "Constant")) {
        return nullptr;
    }
    const onnx::AttributeProto* attribute = attributeOf(*producer, "value");
    return attribute != nullptr && attribute->has_t() ? &attribute->t() : nullptr;
}

const onnx::AttributeProto* attributeOf(const onnx::NodeProto& node, const std::string& name) {
    for (const onnx::AttributeProto& attribute : node.attribute()) {
        if (attribute.name() == name) {
            return &attribute;
        }
    }
    return nullptr;
}

bool isOnnxDomain(const std::string& domain) {
    return domain.empty() || domain == "ai.onnx";
}

std::int64_t opsetOf(const onnx::ModelProto& model) {
    for (const onnx::OperatorSetIdProto& set : model.opset_import()) {
        if (isOnnxDomain(set.domain())) {
            return set.version();
        }
    }
    return 0;
}

bool isOfOnnx(const onnx::NodeProto& node) {
    return isOnnxDomain(node.domain());
}

bool isOnnxOperator(const onnx::NodeProto& node, const char* name) {
    return isOfOnnx(node) && node.op_type() == name;
}

std::string nodeLabel(const onnx::NodeProto& node) {
    return "operator " + node.op_type() + (node.name().empty() ? "" : " '" + node.name() + "'");
}

bool isAnyOf(const std::string& text, std::initializer_list<const char*> choices) {
    return std::any_of(choices.begin(), choices.end(),
                       [&text](const char* choice) { return text == choice; });
}

bool holdsGraph(const onnx::NodeProto& node) {
    return std::any_of(node.attribute().begin(), node.attribute().end(),
                       [](const onnx::AttributeProto& attribute) {
                           return attribute.has_g() || attribute.graphs_size() > 0;
                       });
}

}  // namespace ai_orvo::alg::common
