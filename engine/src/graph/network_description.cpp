#include "graph/network_description.h"

#include <algorithm>
#include <climits>
#include <unordered_set>

#include "graph/element_types.h"
#include "graph/graph_check.h"
#include "graph/graph_lookup.h"
#include "graph/graph_quantization.h"
#include "refusal.h"

namespace ai_orvo::alg::common {
namespace {

std::int64_t extentOf(const onnx::TensorShapeProto::Dimension& dimension) {
    const bool known = dimension.has_dim_value() && dimension.dim_value() > 0;
    return known ? dimension.dim_value() : kUnknownExtent;
}

/// Unknown extents count as 1: the least that the tensor can hold.
bool exceedsElementLimit(const std::vector<std::int64_t>& shape) {
    std::int64_t count = 1;
    for (const std::int64_t extent : shape) {
        const std::int64_t factor = extent == kUnknownExtent ? 1 : extent;
        if (factor > INT_MAX || count * factor > INT_MAX) {
            return true;
        }
        count *= factor;
    }
    return false;
}

TensorDescription describeTensor(const onnx::ValueInfoProto& value, const std::string& path) {
    TensorDescription tensor;
    tensor.name = value.name();
    tensor.elementType = value.type().tensor_type().elem_type();
    tensor.hasShape = value.type().tensor_type().has_shape();
    for (const onnx::TensorShapeProto::Dimension& dimension : value.type().tensor_type().shape().dim()) {
        tensor.shape.push_back(extentOf(dimension));
    }
    if (tensor.name.empty()) {
        throw Refusal(Status::kNotAnOnnxNetwork,
                      "'" + path + "' is damaged: an input or output has no name; export the network again");
    }
    if (exceedsElementLimit(tensor.shape)) {
        throw Refusal(Status::kNotAnOnnxNetwork, "'" + path + "', tensor '" + tensor.name + "': the shape " +
                                                     shapeText(tensor.shape) + " has more than " +
                                                     std::to_string(INT_MAX) +
                                                     " elements; export the network with a smaller input");
    }
    return tensor;
}

std::vector<TensorDescription> describeInputs(const onnx::GraphProto& graph, const std::string& path) {
    std::unordered_set<std::string> stored;
    for (const onnx::TensorProto& initializer : graph.initializer()) {
        stored.insert(initializer.name());
    }
    std::vector<TensorDescription> inputs;
    for (const onnx::ValueInfoProto& value : graph.input()) {
        // Files of before ONNX IR 4 list their weights among the inputs.
        if (stored.count(value.name()) == 0) {
            inputs.push_back(describeTensor(value, path));
        }
    }
    return inputs;
}

std::vector<TensorDescription> describeOutputs(const onnx::GraphProto& graph, const std::string& path) {
    std::vector<TensorDescription> outputs;
    for (const onnx::ValueInfoProto& value : graph.output()) {
        outputs.push_back(describeTensor(value, path));
        const std::optional<QuantizedOutput> quantized = quantizedOutput(graph, value.name());
        if (quantized.has_value()) {
            outputs.back().grid = quantized->grid;
        }
    }
    return outputs;
}

bool allStatic(const std::vector<TensorDescription>& tensors) {
    return std::all_of(tensors.begin(), tensors.end(),
                       [](const TensorDescription& tensor) { return tensor.isStatic(); });
}

}  // namespace

bool TensorDescription::isStatic() const {
    return hasShape && std::find(shape.begin(), shape.end(), kUnknownExtent) == shape.end();
}

std::size_t TensorDescription::elementCount() const {
    if (!isStatic()) {
        return 0;
    }
    std::size_t count = 1;
    for (const std::int64_t extent : shape) {
        count *= static_cast<std::size_t>(extent);
    }
    return count;
}

std::string TensorDescription::describeShape() const {
    return hasShape ? shapeText(shape) : "unknown shape";
}

NetworkDescription describeNetwork(onnx::ModelProto& model, const std::string& path) {
    NetworkDescription network;
    network.opset = opsetOf(model);
    network.inputs = describeInputs(model.graph(), path);
    network.outputs = describeOutputs(model.graph(), path);
    if (!allStatic(network.outputs)) {
        GraphVerdict verdict = judgeGraph(model);
        if (verdict.fault.empty()) {
            model.Swap(&verdict.inferred);
            network.outputs = describeOutputs(model.graph(), path);
        }
    }
    return network;
}

}  // namespace ai_orvo::alg::common
