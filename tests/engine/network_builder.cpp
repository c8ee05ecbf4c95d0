#include "network_builder.h"

namespace brellix::testing {
namespace {

void describe(onnx::ValueInfoProto& value, const std::string& name, const Shape& shape, std::int32_t type) {
    value.set_name(name);
    onnx::TypeProto::Tensor& tensor = *value.mutable_type()->mutable_tensor_type();
    tensor.set_elem_type(type);
    tensor.mutable_shape();
    for (const std::int64_t extent : shape) {
        onnx::TensorShapeProto::Dimension& dimension = *tensor.mutable_shape()->add_dim();
        if (extent < 0) {
            dimension.set_dim_param("dynamic");
        } else {
            dimension.set_dim_value(extent);
        }
    }
}

}  // namespace

NetworkBuilder::NetworkBuilder(std::int64_t opset) {
    model_.set_ir_version(7);
    model_.add_opset_import()->set_version(opset);
    graph().set_name("test");
}

NetworkBuilder& NetworkBuilder::input(const std::string& name, const Shape& shape, std::int32_t type) {
    describe(*graph().add_input(), name, shape, type);
    return *this;
}

NetworkBuilder& NetworkBuilder::output(const std::string& name, const Shape& shape, std::int32_t type) {
    describe(*graph().add_output(), name, shape, type);
    return *this;
}

NetworkBuilder& NetworkBuilder::outputWithoutShape(const std::string& name) {
    output(name, {});
    graph().mutable_output()->rbegin()->mutable_type()->mutable_tensor_type()->clear_shape();
    return *this;
}

NetworkBuilder& NetworkBuilder::node(const std::string& opType, const std::vector<std::string>& inputs,
                                     const std::vector<std::string>& outputs) {
    onnx::NodeProto& node = *graph().add_node();
    node.set_op_type(opType);
    node.set_name("node_" + outputs.front());
    for (const std::string& name : inputs) {
        node.add_input(name);
    }
    for (const std::string& name : outputs) {
        node.add_output(name);
    }
    return *this;
}

NetworkBuilder& NetworkBuilder::integers(const std::string& attribute,
                                         const std::vector<std::int64_t>& values) {
    onnx::AttributeProto& added = *graph().mutable_node()->rbegin()->add_attribute();
    added.set_name(attribute);
    added.set_type(onnx::AttributeProto::INTS);
    added.mutable_ints()->Add(values.begin(), values.end());
    return *this;
}

NetworkBuilder& NetworkBuilder::integer(const std::string& attribute, std::int64_t value) {
    onnx::AttributeProto& added = *graph().mutable_node()->rbegin()->add_attribute();
    added.set_name(attribute);
    added.set_type(onnx::AttributeProto::INT);
    added.set_i(value);
    return *this;
}

NetworkBuilder& NetworkBuilder::text(const std::string& attribute, const std::string& value) {
    onnx::AttributeProto& added = *graph().mutable_node()->rbegin()->add_attribute();
    added.set_name(attribute);
    added.set_type(onnx::AttributeProto::STRING);
    added.set_s(value);
    return *this;
}

NetworkBuilder& NetworkBuilder::floats(const std::string& name, const Shape& shape,
                                       const std::vector<float>& values) {
    onnx::TensorProto& tensor = *graph().add_initializer();
    tensor.set_name(name);
    tensor.set_data_type(onnx::TensorProto::FLOAT);
    tensor.mutable_dims()->Add(shape.begin(), shape.end());
    tensor.mutable_float_data()->Add(values.begin(), values.end());
    return *this;
}

NetworkBuilder& NetworkBuilder::int64s(const std::string& name, const std::vector<std::int64_t>& values) {
    onnx::TensorProto& tensor = *graph().add_initializer();
    tensor.set_name(name);
    tensor.set_data_type(onnx::TensorProto::INT64);
    tensor.add_dims(static_cast<std::int64_t>(values.size()));
    tensor.mutable_int64_data()->Add(values.begin(), values.end());
    return *this;
}

NetworkBuilder& NetworkBuilder::byte(const std::string& name, std::int32_t type, std::int32_t value) {
    onnx::TensorProto& tensor = *graph().add_initializer();
    tensor.set_name(name);
    tensor.set_data_type(type);
    tensor.add_int32_data(value);
    return *this;
}

NetworkBuilder addition(float addend, const std::string& input, const std::string& output) {
    NetworkBuilder network;
    network.input(input, {1, 3, 2, 2}).output(output, {1, 3, 2, 2});
    network.floats("addend", {1, 3, 2, 2}, std::vector<float>(12, addend));
    network.node("Add", {input, "addend"}, {output});
    return network;
}

NetworkBuilder arithmetic() {
    NetworkBuilder network;
    network.input("left", {1, 3, 2, 2}).input("right", {1, 3, 2, 2});
    network.output("sum", {1, 3, 2, 2}).output("product", {1, 3, 2, 2}).output("negated", {1, 3, 2, 2});
    network.node("Add", {"left", "right"}, {"sum"});
    network.node("Mul", {"left", "right"}, {"product"});
    network.node("Neg", {"sum"}, {"negated"});
    return network;
}

NetworkBuilder detectorLike() {
    NetworkBuilder network;
    network.input("in", {1, 3, 4, 4}).output("out", {1, 8, 2}).output("map", {1, 4, 2, 2});
    network.floats("weights", {4, 3, 3, 3}, std::vector<float>(108, 0.25F)).floats("bias", {4}, {1, 2, 3, 4});
    network.int64s("shape", {1, 8, 2}).floats("scales", {4}, {1, 1, 2, 2}).floats("roi", {0}, {});
    network.node("Conv", {"in", "weights", "bias"}, {"features"});
    network.integers("kernel_shape", {3, 3}).integers("strides", {2, 2}).integers("pads", {1, 1, 1, 1});
    network.node("Sigmoid", {"features"}, {"gate"});
    network.node("Mul", {"features", "gate"}, {"map"});
    network.node("Resize", {"map", "roi", "scales"}, {"large"});
    network.text("mode", "nearest")
        .text("coordinate_transformation_mode", "asymmetric")
        .text("nearest_mode", "floor");
    network.node("MaxPool", {"large"}, {"pooled"})
        .integers("kernel_shape", {2, 2})
        .integers("strides", {2, 2});
    network.node("Reshape", {"pooled", "shape"}, {"flat"});
    network.node("Transpose", {"flat"}, {"turned"}).integers("perm", {0, 2, 1});
    network.node("Transpose", {"turned"}, {"out"}).integers("perm", {0, 2, 1});
    return network;
}

}  // namespace brellix::testing
