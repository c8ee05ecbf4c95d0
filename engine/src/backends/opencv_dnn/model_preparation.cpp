#include "backends/opencv_dnn/model_preparation.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <unordered_map>

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

using Ranks = std::unordered_map<std::string, int>;

void addRanks(const google::protobuf::RepeatedPtrField<onnx::ValueInfoProto>& values, Ranks& ranks) {
    for (const onnx::ValueInfoProto& value : values) {
        if (value.type().tensor_type().has_shape()) {
            ranks[value.name()] = value.type().tensor_type().shape().dim_size();
        }
    }
}

Ranks ranksOf(const onnx::GraphProto& graph) {
    Ranks ranks;
    addRanks(graph.input(), ranks);
    addRanks(graph.value_info(), ranks);
    addRanks(graph.output(), ranks);
    for (const onnx::TensorProto& tensor : graph.initializer()) {
        ranks[tensor.name()] = tensor.dims_size();
    }
    return ranks;
}

bool hasAxisOfFirstInput(const onnx::NodeProto& node) {
    static const char* const kKinds[] = {"Concat", "Gather", "LogSoftmax", "Softmax", "Split"};
    return std::any_of(std::begin(kKinds), std::end(kKinds),
                       [&node](const char* kind) { return node.op_type() == kind; });
}

}  // namespace

void countAxesFromTheFront(onnx::ModelProto& model, const onnx::ModelProto& inferred) {
    const Ranks ranks = ranksOf(inferred.graph());
    for (onnx::NodeProto& node : *model.mutable_graph()->mutable_node()) {
        if (!hasAxisOfFirstInput(node)) {
            continue;
        }
        const auto rank = ranks.find(node.input(0));
        for (onnx::AttributeProto& attribute : *node.mutable_attribute()) {
            if (attribute.name() == "axis" && attribute.i() < 0 && rank != ranks.end()) {
                attribute.set_i(attribute.i() + rank->second);
            }
        }
    }
}

OpencvModel prepareForOpencv(const onnx::ModelProto& model) {
    OpencvModel prepared{model, {}};
    onnx::GraphProto& graph = *prepared.model.mutable_graph();
    moveSplitSizesToAttribute(graph);
    prepared.outputs = endBeforeQuantization(graph);
    return prepared;
}

}  // namespace ai_orvo::alg::common
