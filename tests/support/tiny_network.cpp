#include "support/tiny_network.h"

#include <onnx/onnx_pb.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <stdexcept>

namespace brellix::testing {
namespace {

constexpr int kInputChannels = 3;
constexpr int kOpset = 12;
constexpr int kIrVersion = 7;

void describeTensor(onnx::ValueInfoProto& info, const std::string& name, const std::vector<int>& shape) {
    info.set_name(name);
    onnx::TypeProto_Tensor& tensor = *info.mutable_type()->mutable_tensor_type();
    tensor.set_elem_type(onnx::TensorProto::FLOAT);
    for (const int size : shape) {
        tensor.mutable_shape()->add_dim()->set_dim_value(size);
    }
}

void addFloats(onnx::GraphProto& graph, const std::string& name, const std::vector<int>& shape,
               const std::vector<float>& values) {
    onnx::TensorProto& tensor = *graph.add_initializer();
    tensor.set_name(name);
    tensor.set_data_type(onnx::TensorProto::FLOAT);
    for (const int size : shape) {
        tensor.add_dims(size);
    }
    for (const float value : values) {
        tensor.add_float_data(value);
    }
}

void addShape(onnx::GraphProto& graph, const std::string& name, const std::vector<int>& shape) {
    onnx::TensorProto& tensor = *graph.add_initializer();
    tensor.set_name(name);
    tensor.set_data_type(onnx::TensorProto::INT64);
    tensor.add_dims(static_cast<std::int64_t>(shape.size()));
    for (const int size : shape) {
        tensor.add_int64_data(size);
    }
}

void addNode(onnx::GraphProto& graph, const std::string& operation, const std::vector<std::string>& inputs,
             const std::string& output) {
    onnx::NodeProto& node = *graph.add_node();
    node.set_name(operation);
    node.set_op_type(operation);
    for (const std::string& input : inputs) {
        node.add_input(input);
    }
    node.add_output(output);
}

std::vector<float> outputValues(const TinyNetwork& network) {
    const auto rowSize = static_cast<std::size_t>(network.classNum) + 5;
    const auto rows = static_cast<std::size_t>(candidateRows(network));
    if (network.candidates.size() > rows) {
        throw std::runtime_error("more candidates than the output has rows");
    }
    std::vector<float> values;
    for (const Candidate& candidate : network.candidates) {
        values.insert(values.end(),
                      {candidate.cx, candidate.cy, candidate.width, candidate.height, candidate.objectness});
        values.insert(values.end(), candidate.scores.begin(), candidate.scores.end());
        if (values.size() % rowSize != 0) {
            throw std::runtime_error("a candidate needs one score a class");
        }
    }
    values.resize(rows * rowSize, 0.0F);
    return values;
}

/// The mean colour of the picture times a matrix of zeros plus the wanted values: importers fold a graph
/// that does not depend on its input, and refuse the rest.
void fillGraph(onnx::GraphProto& graph, const TinyNetwork& network) {
    const std::vector<float> values = outputValues(network);
    const int elements = static_cast<int>(values.size());
    const std::vector<int> outputShape = {1, candidateRows(network), network.classNum + 5};

    graph.set_name("tiny");
    describeTensor(*graph.add_input(), network.inputName, {1, kInputChannels, network.height, network.width});
    describeTensor(*graph.add_output(), network.outputName, outputShape);
    addFloats(graph, "zeros", {kInputChannels, elements},
              std::vector<float>(values.size() * kInputChannels, 0.0F));
    addFloats(graph, "values", {1, elements}, values);
    addShape(graph, "shape", outputShape);
    addNode(graph, "GlobalAveragePool", {network.inputName}, "mean");
    addNode(graph, "Flatten", {"mean"}, "colour");
    addNode(graph, "MatMul", {"colour", "zeros"}, "nothing");
    addNode(graph, "Add", {"nothing", "values"}, "row");
    addNode(graph, "Reshape", {"row", "shape"}, network.outputName);
}

}  // namespace

int candidateRows(const TinyNetwork& network) {
    int cells = 0;
    for (const int stride : {8, 16, 32}) {
        cells += (network.width / stride) * (network.height / stride);
    }
    return 3 * cells;
}

void writeTinyNetwork(const std::string& path, const TinyNetwork& network) {
    onnx::ModelProto model;
    model.set_ir_version(kIrVersion);
    model.set_producer_name("brellix tests");
    model.add_opset_import()->set_version(kOpset);
    fillGraph(*model.mutable_graph(), network);
    std::ofstream file(path, std::ios::binary);
    if (!file || !model.SerializeToOstream(&file) || !file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

}  // namespace brellix::testing
