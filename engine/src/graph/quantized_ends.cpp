#include "graph/quantized_ends.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

#include "graph/graph_quantization.h"

namespace ai_orvo::alg::common {
namespace {

/// From the back, since a node's users stand behind it.
void removeUnusedQuantizers(onnx::GraphProto& graph) {
    std::unordered_set<std::string> used;
    for (const onnx::ValueInfoProto& output : graph.output()) {
        used.insert(output.name());
    }
    google::protobuf::RepeatedPtrField<onnx::NodeProto> kept;
    for (int i = graph.node_size() - 1; i >= 0; --i) {
        onnx::NodeProto& node = *graph.mutable_node(i);
        const bool quantizer = node.op_type() == "QuantizeLinear" || node.op_type() == "DequantizeLinear";
        if (quantizer && node.output_size() == 1 && used.count(node.output(0)) == 0) {
            continue;
        }
        used.insert(node.input().begin(), node.input().end());
        kept.Add()->Swap(&node);
    }
    std::reverse(kept.begin(), kept.end());
    graph.mutable_node()->Swap(&kept);
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

}  // namespace

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
    removeUnusedQuantizers(graph);
    return values;
}

}  // namespace ai_orvo::alg::common
