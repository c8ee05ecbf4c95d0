#include "support/tiny_network.h"

#include <onnx/onnx_pb.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <functional>
#include <numeric>
#include <stdexcept>

namespace brellix::testing {
namespace {

constexpr int kInputChannels = 3;
constexpr int kOpset = 12;
constexpr int kIrVersion = 7;
constexpr std::array<int, 3> kStrides = {8, 16, 32};
constexpr int kAnchors = 3;
constexpr int kBins = 16;
constexpr int kCoefficients = 32;
constexpr int kPrototypeStride = 4;
// Its exponential leaves nothing of the other bins', and fits into a float.
constexpr float kSureBin = 80.0F;

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
    node.set_name(operation + " of " + output);
    node.set_op_type(operation);
    for (const std::string& input : inputs) {
        node.add_input(input);
    }
    node.add_output(output);
}

std::size_t elementCount(const std::vector<int>& shape) {
    return static_cast<std::size_t>(std::accumulate(shape.begin(), shape.end(), 1, std::multiplies<>()));
}

/// The mean colour of the picture times a matrix, of zeros where nothing else is asked for, plus the wanted
/// values: importers fold a graph that does not depend on its input, and refuse the rest.
void addOutput(onnx::GraphProto& graph, const TinyOutput& output) {
    if (output.values.size() != elementCount(output.shape)) {
        throw std::runtime_error("the values do not fill the shape of " + output.name);
    }
    const int elements = static_cast<int>(output.values.size());
    describeTensor(*graph.add_output(), output.name, output.shape);
    addFloats(graph, output.name + " gain", {kInputChannels, elements},
              std::vector<float>(output.values.size() * kInputChannels,
                                 output.brightnessGain / static_cast<float>(kInputChannels)));
    addFloats(graph, output.name + " values", {1, elements}, output.values);
    addShape(graph, output.name + " shape", output.shape);
    addNode(graph, "MatMul", {"colour", output.name + " gain"}, output.name + " brightness");
    addNode(graph, "Add", {output.name + " brightness", output.name + " values"}, output.name + " row");
    addNode(graph, "Reshape", {output.name + " row", output.name + " shape"}, output.name);
}

void fillGraph(onnx::GraphProto& graph, const TinyNetwork& network) {
    graph.set_name("tiny");
    describeTensor(*graph.add_input(), network.inputName, {1, kInputChannels, network.height, network.width});
    addNode(graph, "GlobalAveragePool", {network.inputName}, "mean");
    addNode(graph, "Flatten", {"mean"}, "colour");
    for (const TinyOutput& output : network.outputs) {
        addOutput(graph, output);
    }
}

/// An output of `channels` planes over a grid with one cell for `stride` pixels.
TinyOutput planes(const std::string& name, const TinyNetwork& network, int channels, int stride,
                  float background) {
    const std::vector<int> shape = {1, channels, network.height / stride, network.width / stride};
    return {name, shape, std::vector<float>(elementCount(shape), background)};
}

float& at(TinyOutput& output, int channel, int row, int column) {
    const int index = (channel * output.shape[2] + row) * output.shape[3] + column;
    return output.values.at(static_cast<std::size_t>(index));
}

void setChannels(TinyOutput& output, int first, int row, int column, const std::vector<float>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        at(output, first + static_cast<int>(i), row, column) = values[i];
    }
}

TinyOutput prototypes(const TinyNetwork& network) {
    TinyOutput output = planes("proto", network, kCoefficients, kPrototypeStride, 0.0F);
    for (int row = 0; row < output.shape[2]; ++row) {
        for (int column = 0; column < output.shape[3]; ++column) {
            at(output, 0, row, column) = column < output.shape[3] / 2 ? 1.0F : -1.0F;
        }
    }
    return output;
}

/// Sets one cell in the three outputs of a head, which begin at `box`.
void setCell(TinyOutput* box, const SegmentationCandidate& candidate) {
    for (std::size_t side = 0; side < candidate.distances.size(); ++side) {
        const int bin = static_cast<int>(side) * kBins + candidate.distances[side];
        at(box[0], bin, candidate.row, candidate.column) = kSureBin;
    }
    setChannels(box[1], 0, candidate.row, candidate.column, candidate.scores);
    at(box[2], 0, candidate.row, candidate.column) = candidate.coefficient;
}

}  // namespace

void writeTinyNetwork(const std::string& path, const TinyNetwork& network) {
    onnx::ModelProto model;
    model.set_ir_version(kIrVersion);
    model.set_producer_name("brellix tests");
    model.add_opset_import()->set_version(kOpset);
    for (const auto& [key, value] : network.metadata) {
        onnx::StringStringEntryProto& entry = *model.add_metadata_props();
        entry.set_key(key);
        entry.set_value(value);
    }
    fillGraph(*model.mutable_graph(), network);
    std::ofstream file(path, std::ios::binary);
    if (!file || !model.SerializeToOstream(&file) || !file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

TinyNetwork fusedNetwork(int classNum, const std::vector<Candidate>& candidates) {
    TinyNetwork network;
    int rows = 0;
    for (const int stride : kStrides) {
        rows += kAnchors * (network.width / stride) * (network.height / stride);
    }
    TinyOutput output{"output0", {1, rows, classNum + 5}, {}};
    for (const Candidate& candidate : candidates) {
        output.values.insert(output.values.end(), {candidate.cx, candidate.cy, candidate.width,
                                                   candidate.height, candidate.objectness});
        output.values.insert(output.values.end(), candidate.scores.begin(), candidate.scores.end());
    }
    output.values.resize(elementCount(output.shape), 0.0F);
    network.outputs = {output};
    return network;
}

TinyNetwork cutNetwork(int classNum, float background, const std::vector<CutCandidate>& candidates) {
    TinyNetwork network;
    const int channels = classNum + 5;
    for (std::size_t head = 0; head < kStrides.size(); ++head) {
        network.outputs.push_back(planes("/model.24/m." + std::to_string(head) + "/Conv_output_0", network,
                                         kAnchors * channels, kStrides[head], background));
    }
    for (const CutCandidate& candidate : candidates) {
        setChannels(network.outputs.at(static_cast<std::size_t>(candidate.head)), candidate.anchor * channels,
                    candidate.row, candidate.column, candidate.channels);
    }
    return network;
}

TinyNetwork segmentationNetwork(int classNum, float background,
                                const std::vector<SegmentationCandidate>& candidates) {
    TinyNetwork network;
    const auto name = [&] { return "output" + std::to_string(network.outputs.size()); };
    for (const int stride : kStrides) {
        network.outputs.push_back(planes(name(), network, 4 * kBins, stride, 0.0F));
        network.outputs.push_back(planes(name(), network, classNum, stride, background));
        network.outputs.push_back(planes(name(), network, kCoefficients, stride, 0.0F));
    }
    network.outputs.push_back(prototypes(network));
    for (const SegmentationCandidate& candidate : candidates) {
        setCell(&network.outputs.at(static_cast<std::size_t>(candidate.head) * 3), candidate);
    }
    return network;
}

}  // namespace brellix::testing
