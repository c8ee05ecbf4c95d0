#include "graph/quantized_ends.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

#include "graph/graph_lookup.h"
#include "graph/graph_quantization.h"

namespace ai_orvo::alg::common {
namespace {

using Names = std::unordered_set<std::string>;

/// The values that the graph gives and that its nodes take, also inside of the graphs that nodes hold.
void addUses(const onnx::GraphProto& graph, Names& used) {
    for (const onnx::ValueInfoProto& output : graph.output()) {
        used.insert(output.name());
    }
    for (const onnx::NodeProto& node : graph.node()) {
        used.insert(node.input().begin(), node.input().end());
        for (const onnx::AttributeProto& attribute : node.attribute()) {
            if (attribute.has_g()) {
                addUses(attribute.g(), used);
            }
            for (const onnx::GraphProto& inner : attribute.graphs()) {
                addUses(inner, used);
            }
        }
    }
}

bool isUnusedQuantizer(const onnx::NodeProto& node, const Names& used) {
    const bool isQuantizer =
        isOnnxOperator(node, "QuantizeLinear") || isOnnxOperator(node, "DequantizeLinear");
    return isQuantizer && node.output_size() == 1 && used.count(node.output(0)) == 0;
}

/// Until nothing changes: a DequantizeLinear that goes leaves its QuantizeLinear unused.
void removeUnusedQuantizers(onnx::GraphProto& graph) {
    auto& nodes = *graph.mutable_node();
    int before = 0;
    do {
        before = nodes.size();
        Names used;
        addUses(graph, used);
        nodes.erase(
            std::remove_if(nodes.begin(), nodes.end(),
                           [&used](const onnx::NodeProto& node) { return isUnusedQuantizer(node, used); }),
            nodes.end());
    } while (nodes.size() != before);
}

/// A value that is an output already is none twice.
void addOutput(onnx::GraphProto& graph, const onnx::ValueInfoProto& output) {
    const bool isThere =
        std::any_of(graph.output().begin(), graph.output().end(),
                    [&](const onnx::ValueInfoProto& other) { return other.name() == output.name(); });
    if (!isThere) {
        *graph.add_output() = output;
    }
}

}  // namespace

std::vector<std::string> endBeforeQuantization(onnx::GraphProto& graph) {
    const onnx::GraphProto original = graph;
    std::vector<std::string> values;
    graph.clear_output();
    for (const onnx::ValueInfoProto& output : original.output()) {
        const std::optional<QuantizedOutput> quantized = quantizedOutput(original, output.name());
        values.push_back(quantized.has_value() ? quantized->floatValue : output.name());
        onnx::ValueInfoProto end = output;
        if (quantized.has_value()) {
            end.set_name(values.back());
            end.mutable_type()->mutable_tensor_type()->set_elem_type(onnx::TensorProto::FLOAT);
        }
        addOutput(graph, end);
    }
    removeUnusedQuantizers(graph);
    return values;
}

}  // namespace ai_orvo::alg::common
