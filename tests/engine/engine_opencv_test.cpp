// What the back-end opencv_dnn refuses, because OpenCV 4.6 would compute it wrongly, crash or answer with
// noise.

#include "engine_fixture.h"

namespace brellix::testing {
namespace {

class EngineOnOpencv : public EngineTest {
  private:
    const EnvironmentVariable backend_{"BRELLIX_ENGINE_BACKEND", "opencv_dnn"};
};

TEST_F(EngineOnOpencv, RefusesADynamicShapeAndSaysHowToExport) {
    NetworkBuilder network;
    network.input("in", {-1, 3, -1, -1}).output("out", {-1, 3, -1, -1}).node("Relu", {"in"}, {"out"});
    AIEngineConfig config = configFor(network);
    config.input_sizes = {{"in", 12}};
    expectRefusal(init(config), 4, {config.model_path, "opencv_dnn", "'in'", "?x3x?x?", "static shape"});
}

TEST_F(EngineOnOpencv, RefusesHalfPrecision) {
    NetworkBuilder network;
    network.input("in", {1, 3, 2, 2}, onnx::TensorProto::FLOAT16);
    network.output("out", {1, 3, 2, 2}, onnx::TensorProto::FLOAT16).node("Relu", {"in"}, {"out"});
    expectRefusal(init(configFor(network)), 4, {"'in'", "float16", "export the network in float32"});
}

TEST_F(EngineOnOpencv, RefusesHalfPrecisionWeights) {
    NetworkBuilder network = addition(1.0F);
    onnx::TensorProto& weights = *network.graph().mutable_initializer(0);
    weights.clear_float_data();
    weights.set_data_type(onnx::TensorProto::FLOAT16);
    weights.set_raw_data(std::string(24, '\0'));
    expectRefusal(init(configFor(network)), 4, {"'addend'", "float16", "float32"});
}

TEST_F(EngineOnOpencv, RefusesQuantisationInsideTheGraph) {
    NetworkBuilder network(13);
    network.input("in", {1, 3, 2, 2}).output("out", {1, 3, 2, 2});
    network.floats("scale", {}, {0.5F}).byte("zero", onnx::TensorProto::INT8, 0);
    network.node("QuantizeLinear", {"in", "scale", "zero"}, {"bytes"});
    network.node("DequantizeLinear", {"bytes", "scale", "zero"}, {"values"});
    network.node("Relu", {"values"}, {"out"});
    expectRefusal(init(configFor(network)), 4, {"operator QuantizeLinear", "give the float network"});
}

TEST_F(EngineOnOpencv, RefusesOldOperatorSetsWhoseOperandsItWouldNotMatch) {
    NetworkBuilder network(1);
    network.input("in", {4, 3, 2}).output("out", {1, 3, 2, 2});
    network.floats("addend", {1, 3, 2, 2}, std::vector<float>(12, 1.0F));
    network.node("Add", {"in", "addend"}, {"out"});
    expectRefusal(init(configFor(network)), 4, {"opset 1, older than 7", "export the network with opset 12"});
}

TEST_F(EngineOnOpencv, RefusesAnUnknownOperator) {
    NetworkBuilder network;
    network.input("in", {1, 3, 2, 2}).output("out", {1, 3, 2, 2}).node("Magic", {"in"}, {"out"});
    expectRefusal(init(configFor(network)), 4, {"graph is not valid", "Magic"});
}

TEST_F(EngineOnOpencv, RefusesANodeWithoutItsInputs) {
    NetworkBuilder network;
    network.input("in", {1, 3, 2, 2}).output("out", {1, 3, 2, 2}).node("Conv", {}, {"out"});
    expectRefusal(init(configFor(network)), 4, {"graph is not valid"});
}

TEST_F(EngineOnOpencv, RefusesAWindowThatDoesNotMove) {
    NetworkBuilder network;
    network.input("in", {1, 3, 4, 4}).output("out", {1, 3, 2, 2});
    network.node("MaxPool", {"in"}, {"out"}).integers("kernel_shape", {2, 2}).integers("strides", {0, 2});
    expectRefusal(init(configFor(network)), 4, {"MaxPool 'node_out'", "strides must lie in 1 .. 32767"});
}

TEST_F(EngineOnOpencv, RefusesConvolutionWeightsWithoutEnoughDimensions) {
    NetworkBuilder network;
    network.input("in", {1, 3, 4, 4})
        .output("out", {1, 3, 8, 8})
        .floats("weights", {12}, std::vector<float>(12));
    network.node("ConvTranspose", {"in", "weights"}, {"out"}).integers("kernel_shape", {2, 2});
    expectRefusal(init(configFor(network)), 4,
                  {"ConvTranspose 'node_out'", "'weights'", "3 or more dimensions"});
}

TEST_F(EngineOnOpencv, RefusesALayerOnConstantsOnly) {
    NetworkBuilder network = addition(1.0F);
    network.floats("four", {4}, std::vector<float>(4, 1.0F)).output("constant", {4});
    network.node("Sigmoid", {"four"}, {"constant"});
    expectRefusal(init(configFor(network)), 4, {"Sigmoid 'node_constant'", "only constants", "simplify"});
}

TEST_F(EngineOnOpencv, RefusesAGraphInsideTheGraph) {
    NetworkBuilder network = addition(1.0F);
    onnx::AttributeProto& branch = *network.graph().mutable_node(0)->add_attribute();
    branch.set_name("then_branch");
    branch.set_type(onnx::AttributeProto::GRAPH);
    branch.mutable_g()->set_name("inner");
    expectRefusal(init(configFor(network)), 4, {"Add 'node_out'", "holds a graph of its own"});
}

}  // namespace
}  // namespace brellix::testing
