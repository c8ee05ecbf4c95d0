#include "model_preparation.h"

#include <cstring>
#include <optional>
#include <unordered_set>

#include "../graph_lookup.h"
#include "../graph_quantization.h"

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

std::unordered_set<std::string> usedValues(const onnx::GraphProto& graph) {
    std::unordered_set<std::string> used;
    for (const onnx::NodeProto& node : graph.node()) {
        used.insert(node.input().begin(), node.input().end());
    }
    for (const onnx::ValueInfoProto& output : graph.output()) {
        used.insert(output.name());
    }
    return used;
}

bool removeOneUnusedQuantizer(onnx::GraphProto& graph) {
    const std::unordered_set<std::string> used = usedValues(graph);
    for (int i = 0; i < graph.node_size(); ++i) {
        const onnx::NodeProto& node = graph.node(i);
        const bool quantizer = node.op_type() == "QuantizeLinear" || node.op_type() == "DequantizeLinear";
        if (quantizer && node.output_size() == 1 && used.count(node.output(0)) == 0) {
            graph.mutable_node()->DeleteSubrange(i, 1);
            return true;
        }
    }
    return false;
}

void addOutput(onnx::GraphProto& graph, const onnx::ValueInfoProto& original, const std::string& name) {
    for (const onnx::ValueInfoProto& output : graph.output()) {
        if (output.name() == name) {
            return;
        }
    }
    onnx::ValueInfoProto* output = graph.add_output();
    *output = original;
    output->set_name(name);
    output->mutable_type()->mutable_tensor_type()->set_elem_type(onnx::TensorProto::FLOAT);
}

/// Ends the graph at the values before quantisation. \return those values' names, one per output.
std::vector<std::string> endBeforeQuantization(onnx::GraphProto& graph) {
    const onnx::GraphProto original = graph;
    std::vector<std::string> values;
    graph.clear_output();
    for (const onnx::ValueInfoProto& output : original.output()) {
        const std::optional<QuantizedOutput> quantized = quantizedOutput(original, output.name());
        values.push_back(quantized.has_value() ? quantized->floatValue : output.name());
        if (quantized.has_value()) {
            addOutput(graph, output, values.back());
        } else {
            *graph.add_output() = output;
        }
    }
    while (removeOneUnusedQuantizer(graph)) {
    }
    return values;
}

}  // namespace

OpencvModel prepareForOpencv(const onnx::ModelProto& model) {
    OpencvModel prepared{model, {}};
    onnx::GraphProto& graph = *prepared.model.mutable_graph();
    moveSplitSizesToAttribute(graph);
    prepared.outputs = endBeforeQuantization(graph);
    return prepared;
}

}  // namespace ai_orvo::alg::common
