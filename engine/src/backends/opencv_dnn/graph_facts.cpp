#include "backends/opencv_dnn/graph_facts.h"

#include <algorithm>

#include "graph/graph_lookup.h"

namespace ai_orvo::alg::common {
namespace {

bool isStatic(const onnx::TensorShapeProto& shape) {
    return std::all_of(
        shape.dim().begin(), shape.dim().end(),
        [](const onnx::TensorShapeProto::Dimension& extent) { return extent.dim_value() > 0; });
}

}  // namespace

GraphFacts::GraphFacts(const onnx::ModelProto& model, const onnx::ModelProto& inferred)
    : model_(model), opset_(opsetOf(model)) {
    addValues(inferred.graph().input());
    addValues(inferred.graph().value_info());
    addValues(inferred.graph().output());
    for (const onnx::TensorProto& tensor : model.graph().initializer()) {
        addTensor(tensor.name(), tensor);
        initializers_.insert(tensor.name());
        constants_.insert(tensor.name());
    }
    for (const onnx::NodeProto& node : model.graph().node()) {
        const bool constant =
            node.op_type() == "Shape" ||
            (node.input_size() == 0
                 ? node.op_type() == "Constant"
                 : std::all_of(node.input().begin(), node.input().end(),
                               [this](const std::string& name) { return isConstant(name); }));
        if (constant) {
            constants_.insert(node.output().begin(), node.output().end());
        }
    }
}

void GraphFacts::addValues(const google::protobuf::RepeatedPtrField<onnx::ValueInfoProto>& values) {
    for (const onnx::ValueInfoProto& value : values) {
        const onnx::TypeProto::Tensor& tensor = value.type().tensor_type();
        types_[value.name()] = tensor.elem_type();
        if (tensor.has_shape()) {
            ranks_[value.name()] = tensor.shape().dim_size();
        }
        if (tensor.has_shape() && isStatic(tensor.shape())) {
            Extents& extents = shapes_[value.name()];
            extents.clear();
            for (const onnx::TensorShapeProto::Dimension& extent : tensor.shape().dim()) {
                extents.push_back(extent.dim_value());
            }
        }
    }
}

void GraphFacts::addTensor(const std::string& name, const onnx::TensorProto& tensor) {
    types_[name] = tensor.data_type();
    ranks_[name] = tensor.dims_size();
    shapes_[name].assign(tensor.dims().begin(), tensor.dims().end());
}

const Extents* GraphFacts::shapeOf(const std::string& value) const {
    const auto found = shapes_.find(value);
    return found == shapes_.end() ? nullptr : &found->second;
}

std::optional<std::int64_t> GraphFacts::rankOf(const std::string& value) const {
    const auto found = ranks_.find(value);
    return found == ranks_.end() ? std::nullopt : std::optional<std::int64_t>(found->second);
}

std::int32_t GraphFacts::typeOf(const std::string& value) const {
    const auto found = types_.find(value);
    return found == types_.end() ? std::int32_t{onnx::TensorProto::UNDEFINED} : found->second;
}

std::int64_t integerOf(const onnx::NodeProto& node, const std::string& attribute, std::int64_t otherwise) {
    const onnx::AttributeProto* found = attributeOf(node, attribute);
    return found == nullptr ? otherwise : found->i();
}

std::string textOf(const onnx::NodeProto& node, const std::string& attribute, const std::string& otherwise) {
    const onnx::AttributeProto* found = attributeOf(node, attribute);
    return found == nullptr ? otherwise : found->s();
}

}  // namespace ai_orvo::alg::common
