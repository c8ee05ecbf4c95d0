#include "backends/onnxruntime/graph_preparation.h"

#include <algorithm>

#include "graph/graph_hazards.h"
#include "graph/quantized_ends.h"

namespace ai_orvo::alg::common {
namespace {

bool isConverted(std::int32_t elementType) {
    return elementType == onnx::TensorProto::FLOAT16 || elementType == onnx::TensorProto::DOUBLE;
}

std::string floatName(const std::string& name) {
    return name + "/brellix_float32";
}

onnx::NodeProto castNode(const std::string& from, const std::string& to, std::int32_t type) {
    onnx::NodeProto node;
    node.set_op_type("Cast");
    node.set_name(to + "/cast");
    node.add_input(from);
    node.add_output(to);
    onnx::AttributeProto* attribute = node.add_attribute();
    attribute->set_name("to");
    attribute->set_type(onnx::AttributeProto::INT);
    attribute->set_i(type);
    return node;
}

void addInFront(onnx::GraphProto& graph, const onnx::NodeProto& node) {
    *graph.add_node() = node;
    std::rotate(graph.mutable_node()->begin(), graph.mutable_node()->end() - 1, graph.mutable_node()->end());
}

void setShape(onnx::ValueInfoProto& value, const std::vector<std::int64_t>& shape) {
    onnx::TensorShapeProto& stored = *value.mutable_type()->mutable_tensor_type()->mutable_shape();
    stored.Clear();
    for (const std::int64_t extent : shape) {
        stored.add_dim()->set_dim_value(extent);
    }
}

/// \return the name of the value to feed.
std::string takeFloats(onnx::GraphProto& graph, onnx::ValueInfoProto& input) {
    onnx::TypeProto::Tensor& tensor = *input.mutable_type()->mutable_tensor_type();
    std::string name = input.name();
    if (!isConverted(tensor.elem_type())) {
        return name;
    }
    addInFront(graph, castNode(floatName(name), name, tensor.elem_type()));
    tensor.set_elem_type(onnx::TensorProto::FLOAT);
    input.set_name(floatName(name));
    return floatName(name);
}

/// Values in the middle may be described with the extents that the file leaves open; only the graph decides.
void settleInputs(onnx::GraphProto& graph, PreparedGraph& prepared, const std::vector<std::string>& names,
                  const std::vector<std::vector<std::int64_t>>& shapes) {
    graph.clear_value_info();
    for (std::size_t i = 0; i < names.size(); ++i) {
        for (onnx::ValueInfoProto& input : *graph.mutable_input()) {
            if (input.name() == names[i]) {
                setShape(input, shapes[i]);
                prepared.inputs.push_back(takeFloats(graph, input));
                break;
            }
        }
    }
}

void giveFloats(onnx::GraphProto& graph, PreparedGraph& prepared) {
    for (onnx::ValueInfoProto& output : *graph.mutable_output()) {
        onnx::TypeProto::Tensor& tensor = *output.mutable_type()->mutable_tensor_type();
        if (!isConverted(tensor.elem_type())) {
            continue;
        }
        const std::string name = output.name();
        *graph.add_node() = castNode(name, floatName(name), onnx::TensorProto::FLOAT);
        tensor.set_elem_type(onnx::TensorProto::FLOAT);
        output.set_name(floatName(name));
        std::replace(prepared.outputs.begin(), prepared.outputs.end(), name, floatName(name));
    }
}

}  // namespace

PreparedGraph prepareGraph(const onnx::ModelProto& model, const std::vector<std::string>& inputNames,
                           const std::vector<std::vector<std::int64_t>>& inputShapes) {
    PreparedGraph prepared{model, {}, {}};
    onnx::GraphProto& graph = *prepared.model.mutable_graph();
    prepared.outputs = endBeforeQuantization(graph);
    giveFloats(graph, prepared);
    settleInputs(graph, prepared, inputNames, inputShapes);
    stateWindows(graph);
    return prepared;
}

}  // namespace ai_orvo::alg::common
