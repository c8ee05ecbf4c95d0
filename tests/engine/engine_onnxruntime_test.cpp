// What the back-end onnxruntime runs beyond the contract that all back-ends share, and how it fails.

#include <filesystem>
#include <iterator>

#include "engine_fixture.h"

namespace brellix::testing {
namespace {

class EngineOnOnnxRuntime : public EngineTest {
  protected:
    /// Runs the network once. \return its output `out` of `elements` floats.
    std::vector<float> floatsFrom(const AIEngineConfig& config, const std::vector<float>& values,
                                  std::size_t elements) {
        expectSilentSuccess(init(config));
        TensorMap inputs{{"in", floatTensor(values)}};
        TensorMap outputs{{"out", byteBuffer(elements * sizeof(float))}};
        expectSilentSuccess(infer(inputs, outputs));
        EXPECT_EQ(outputs["out"].type, 2);
        return floatsOf(outputs["out"]);
    }

  private:
    const EnvironmentVariable backend_{"BRELLIX_ENGINE_BACKEND", "onnxruntime"};
};

/// out = |in|, of elements of that type.
NetworkBuilder absolute(std::int32_t type, const Shape& shape) {
    NetworkBuilder network;
    network.input("in", shape, type).output("out", shape, type).node("Abs", {"in"}, {"out"});
    return network;
}

/// An image network whose file leaves batch, height and width open: out = max(in, 0).
NetworkBuilder openImage() {
    NetworkBuilder network;
    network.input("in", {-1, 3, -1, -1}).output("out", {-1, 3, -1, -1}).node("Relu", {"in"}, {"out"});
    return network;
}

TEST_F(EngineOnOnnxRuntime, TakesAndGivesHalfPrecisionAsFloats) {
    const auto network = absolute(onnx::TensorProto::FLOAT16, {1, 4});
    // Numbers that a half holds: ONNX Runtime computes with floats where it has no arithmetic of halves.
    EXPECT_EQ(floatsFrom(configFor(network), {-1.5F, 0.25F, -65504.0F, 0.0F}, 4),
              (std::vector<float>{1.5F, 0.25F, 65504.0F, 0.0F}));
}

TEST_F(EngineOnOnnxRuntime, TakesAnInterleavedImageForAHalfPrecisionNetwork) {
    expectSilentSuccess(init(configFor(absolute(onnx::TensorProto::FLOAT16, {1, 3, 1, 2}))));
    TensorMap inputs{{"in", byteBuffer(6)}};
    *inputs["in"].data = {-1, 0, 0, 0, -1, 0};
    TensorMap outputs{{"out", byteBuffer(24)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["out"]), (std::vector<float>{1, 0, 0, 1, 0, 0}));
}

TEST_F(EngineOnOnnxRuntime, GivesHalfPrecisionOutputsAsInt8) {
    expectSilentSuccess(init(configFor(absolute(onnx::TensorProto::FLOAT16, {1, 4}))));
    TensorMap inputs{{"in", floatTensor({-255.0F, 1.0F, 0.0F, 128.0F})}};
    TensorMap outputs{{"out", byteBuffer(4)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(outputs["out"].scale, 1.0F);
    EXPECT_EQ(bytesOf(outputs["out"]), (std::vector<int>{127, -127, -128, 0}));
}

TEST_F(EngineOnOnnxRuntime, RunsHalfPrecisionWeights) {
    NetworkBuilder network;
    network.input("in", {1, 2}).output("out", {1, 2});
    onnx::TensorProto& weights = *network.graph().add_initializer();
    weights.set_name("weights");
    weights.set_data_type(onnx::TensorProto::FLOAT16);
    weights.add_dims(2);
    weights.set_raw_data(std::string("\x00\x3C\x00\x42", 4));  // 1 and 3
    network.node("Cast", {"weights"}, {"wide"}).integer("to", onnx::TensorProto::FLOAT);
    network.node("Mul", {"in", "wide"}, {"out"});
    EXPECT_EQ(floatsFrom(configFor(network), {5.0F, 7.0F}, 2), (std::vector<float>{5.0F, 21.0F}));
}

TEST_F(EngineOnOnnxRuntime, TakesAndGivesDoublePrecisionAsFloats) {
    EXPECT_EQ(floatsFrom(configFor(absolute(onnx::TensorProto::DOUBLE, {1, 2})), {-1.5F, 3.0F}, 2),
              (std::vector<float>{1.5F, 3.0F}));
}

TEST_F(EngineOnOnnxRuntime, RefusesInputsThatAreNoFloats) {
    expectRefusal(init(configFor(absolute(onnx::TensorProto::INT32, {1, 2}))), 4,
                  {"input 'in' is int32", "float32, float16 and float64", "export"});
}

TEST_F(EngineOnOnnxRuntime, RefusesBytesOfWhichTheGraphTellsNoGrid) {
    NetworkBuilder network;
    network.input("in", {1, 2}).output("out", {1, 2}, onnx::TensorProto::UINT8);
    network.node("Cast", {"in"}, {"out"}).integer("to", onnx::TensorProto::UINT8);
    expectRefusal(init(configFor(network)), 4,
                  {"output 'out' is uint8", "QuantizeLinear", "float32 outputs"});
}

TEST_F(EngineOnOnnxRuntime, RunsAnOpenShapeInTheConfigurationsShape) {
    AIEngineConfig config = configFor(openImage());
    config.input_shapes = {{"in", {1, 3, 1, 2}}};
    EXPECT_EQ(floatsFrom(config, {-1, 1, -2, 2, -3, 3}, 6), (std::vector<float>{0, 1, 0, 2, 0, 3}));
}

TEST_F(EngineOnOnnxRuntime, SettlesOneOpenExtentByTheNumberOfElements) {
    NetworkBuilder network;
    network.input("in", {-1, 3, -1}).output("out", {-1, 3, -1}).node("Relu", {"in"}, {"out"});
    AIEngineConfig config = configFor(network);
    config.input_sizes = {{"in", 6}};
    EXPECT_EQ(floatsFrom(config, {-1, 1, -2, 2, -3, 3}, 6), (std::vector<float>{0, 1, 0, 2, 0, 3}));
}

TEST_F(EngineOnOnnxRuntime, SettlesAnOpenBatchByTheNumberOfElements) {
    NetworkBuilder network;
    network.input("in", {-1, 3}).output("out", {-1, 3}).node("Relu", {"in"}, {"out"});
    AIEngineConfig config = configFor(network);
    config.input_sizes = {{"in", 6}};
    EXPECT_EQ(floatsFrom(config, {-1, 1, -2, 2, -3, 3}, 6), (std::vector<float>{0, 1, 0, 2, 0, 3}));
}

TEST_F(EngineOnOnnxRuntime, TakesAnImageOfOpenSizeForASquareAndSaysSo) {
    AIEngineConfig config = configFor(openImage());
    config.input_sizes = {{"in", 48}};
    config.output_sizes = {{"out", 48}};
    expectRefusal(init(config), 0, {"'in'", "squares", "1x3x4x4", "static shape"});
    TensorMap inputs{{"in", byteBuffer(48, 1)}};
    TensorMap outputs{{"out", byteBuffer(192)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["out"]), std::vector<float>(48, 0.003921569F));
}

TEST_F(EngineOnOnnxRuntime, RefusesAnImageOfOpenSizeThatIsNoSquare) {
    AIEngineConfig config = configFor(openImage());
    config.input_sizes = {{"in", 24}};
    expectRefusal(init(config), 4, {"'in' (?x3x?x?)", "8 pixels are no square", "static shape"});
}

TEST_F(EngineOnOnnxRuntime, RefusesOpenExtentsThatNothingSettles) {
    expectRefusal(init(configFor(openImage())), 4, {"'in' (?x3x?x?)", "tables", "static shape"});
    NetworkBuilder network;
    network.input("in", {1, -1, -1}).output("out", {1, -1, -1}).node("Relu", {"in"}, {"out"});
    AIEngineConfig config = configFor(network);
    config.input_sizes = {{"in", 4}};
    expectRefusal(init(config), 4, {"'in' (1x?x?)", "more open", "static shape"});
}

TEST_F(EngineOnOnnxRuntime, RefusesConfiguredShapesOfNoTensor) {
    for (const std::int64_t extent : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{1} << 40}) {
        AIEngineConfig config = configFor(openImage());
        config.input_shapes = {{"in", {1, 3, extent, 2}}};
        const std::string written = extent < 0 ? "?" : std::to_string(extent);
        expectRefusal(init(config), 4, {"'in'", "1x3x" + written + "x2 is none of a tensor"});
    }
}

TEST_F(EngineOnOnnxRuntime, ComparesTheTablesWithTheShapesItFinds) {
    AIEngineConfig config = configFor(openImage());
    config.input_shapes = {{"in", {1, 3, 1, 2}}};
    config.output_sizes = {{"out", 9}};
    expectRefusal(init(config), 3, {"output 'out'", "expects 9 elements", "1x3x1x2 (6 elements)"});
}

TEST_F(EngineOnOnnxRuntime, RunsQuantisationInsideTheGraph) {
    NetworkBuilder network(13);
    network.input("in", {1, 4}).output("out", {1, 4});
    network.floats("scale", {}, {0.5F}).byte("zero", onnx::TensorProto::INT8, 0);
    network.node("QuantizeLinear", {"in", "scale", "zero"}, {"bytes"});
    network.node("DequantizeLinear", {"bytes", "scale", "zero"}, {"values"});
    network.node("Relu", {"values"}, {"out"});
    EXPECT_EQ(floatsFrom(configFor(network), {-5.0F, 0.6F, 2.3F, 1000.0F}, 4),
              (std::vector<float>{0.0F, 0.5F, 2.5F, 63.5F}));
}

/// An output that a quantised convolution computes: y = 2 x, in steps of 0.5 around the unsigned zero point
/// 130.
NetworkBuilder quantisedConvolution() {
    NetworkBuilder network(13);
    network.input("in", {1, 1, 1, 4}).output("out", {1, 1, 1, 4});
    network.floats("one", {}, {1.0F}).floats("half", {}, {0.5F});
    network.byte("none", onnx::TensorProto::UINT8, 128).byte("zero", onnx::TensorProto::UINT8, 130);
    network.byte("weights", onnx::TensorProto::UINT8, 130);
    network.graph().mutable_initializer()->rbegin()->mutable_dims()->Resize(4, 1);
    network.node("QuantizeLinear", {"in", "one", "none"}, {"bytes"});
    network.node("QLinearConv", {"bytes", "one", "none", "weights", "one", "none", "half", "zero"},
                 {"result"});
    network.integers("kernel_shape", {1, 1});
    network.node("DequantizeLinear", {"result", "half", "zero"}, {"out"});
    return network;
}

TEST_F(EngineOnOnnxRuntime, GivesTheBytesOfAQuantisedOperatorOnTheGraphsGrid) {
    expectSilentSuccess(init(configFor(quantisedConvolution())));
    TensorMap inputs{{"in", floatTensor({-5.0F, 0.0F, 3.0F, 100.0F})}};
    TensorMap bytes{{"out", byteBuffer(4)}};
    expectSilentSuccess(infer(inputs, bytes));
    EXPECT_EQ(bytes["out"].scale, 0.5F);
    EXPECT_EQ(bytes["out"].zp, 2);
    EXPECT_EQ(bytesOf(bytes["out"]), (std::vector<int>{-18, 2, 14, 127}));
    TensorMap floats{{"out", byteBuffer(16)}};
    expectSilentSuccess(infer(inputs, floats));
    EXPECT_EQ(floatsOf(floats["out"]), (std::vector<float>{-10.0F, 0.0F, 6.0F, 62.5F}));
}

TEST_F(EngineOnOnnxRuntime, RunsANewerOperatorSet) {
    NetworkBuilder network(18);
    network.input("in", {1, 4}).output("out", {1, 2}).output("rest", {1, 2});
    network.node("Split", {"in"}, {"out", "rest"}).integer("axis", 1).integer("num_outputs", 2);
    EXPECT_EQ(floatsFrom(configFor(network), {1, 2, 3, 4}, 2), (std::vector<float>{1, 2}));
}

TEST_F(EngineOnOnnxRuntime, RunsALayerOnConstantsOnly) {
    NetworkBuilder network;
    network.input("in", {1, 2}).output("out", {1, 2}).floats("minus", {1, 2}, {-1.0F, -2.0F});
    network.node("Abs", {"minus"}, {"plus"}).node("Add", {"in", "plus"}, {"out"});
    EXPECT_EQ(floatsFrom(configFor(network), {1, 2}, 2), (std::vector<float>{2, 4}));
}

/// An output that is computed first, and one whose elements `in` chooses among 10, 20 and 30.
NetworkBuilder chosenByInput() {
    NetworkBuilder network;
    network.input("in", {1, 2}).output("early", {1, 2}).output("out", {1, 2});
    network.floats("table", {3}, {10.0F, 20.0F, 30.0F});
    network.node("Neg", {"in"}, {"early"});
    network.node("Cast", {"in"}, {"places"}).integer("to", onnx::TensorProto::INT64);
    network.node("Gather", {"table", "places"}, {"out"}).integer("axis", 0);
    return network;
}

TEST_F(EngineOnOnnxRuntime, LeavesTheOutputsWhereTheValuesMakeItFail) {
    expectSilentSuccess(init(configFor(chosenByInput())));
    TensorMap inputs{{"in", floatTensor({2.0F, 99.0F})}};
    TensorMap outputs{{"early", byteBuffer(8, 7)}, {"out", byteBuffer(8, 7)}};
    expectRefusal(infer(inputs, outputs), 9, {"network.onnx", "ONNX Runtime failed", "Gather"});
    EXPECT_EQ(bytesOf(outputs["early"]), std::vector<int>(8, 7));
    EXPECT_EQ(bytesOf(outputs["out"]), std::vector<int>(8, 7));
    inputs["in"] = floatTensor({2.0F, 0.0F});
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["early"]), (std::vector<float>{-2.0F, -0.0F}));
    EXPECT_EQ(floatsOf(outputs["out"]), (std::vector<float>{30.0F, 10.0F}));
}

TEST_F(EngineOnOnnxRuntime, GivesAnInputBackAsAnOutput) {
    NetworkBuilder network;
    network.input("in", {1, 2}).output("in", {1, 2}).output("out", {1, 2}).node("Neg", {"in"}, {"out"});
    expectSilentSuccess(init(configFor(network)));
    TensorMap inputs{{"in", floatTensor({4.0F, -1.0F})}};
    TensorMap outputs{{"in", byteBuffer(8, 7)}, {"out", byteBuffer(8, 7)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["in"]), (std::vector<float>{4.0F, -1.0F}));
    EXPECT_EQ(floatsOf(outputs["out"]), (std::vector<float>{-4.0F, 1.0F}));
}

TEST_F(EngineOnOnnxRuntime, GivesAnInputOnAGrid) {
    NetworkBuilder network;
    network.input("in", {1, 2}).output("out", {1, 2}, onnx::TensorProto::INT8);
    network.floats("half", {}, {0.5F}).byte("zero", onnx::TensorProto::INT8, 0);
    network.node("QuantizeLinear", {"in", "half", "zero"}, {"out"});
    EXPECT_EQ(floatsFrom(configFor(network), {4.2F, -1.0F}, 2), (std::vector<float>{4.0F, -1.0F}));
}

TEST_F(EngineOnOnnxRuntime, RefusesNamesThatItWouldCutShort) {
    NetworkBuilder network;
    const std::string name("out\0b", 5);
    network.input("in", {1, 2}).output("out", {1, 2}).output(name, {1, 2});
    network.node("Neg", {"in"}, {"out"}).node("Abs", {"in"}, {name});
    expectRefusal(init(configFor(network)), 4, {"zero byte", "rename"});
}

TEST_F(EngineOnOnnxRuntime, RefusesAnOutputWhoseShapeDependsOnThePicture) {
    NetworkBuilder network(13);
    network.input("in", {1, 2}).output("out", {1, -1});
    network.int64s("one", {1}).int64s("many", {-1});
    // As many elements as the first value of the picture says, and at least one.
    network.int64s("begin", {0}).int64s("end", {1}).int64s("axis", {1});
    network.node("Slice", {"in", "begin", "end", "axis"}, {"first"});
    network.node("Reshape", {"first", "many"}, {"flat"});
    network.node("Cast", {"flat"}, {"asked"}).integer("to", onnx::TensorProto::INT64);
    network.node("Max", {"asked", "one"}, {"count"});
    network.node("Concat", {"one", "count"}, {"shape"}).integer("axis", 0);
    network.floats("unit", {1, 1}, {1.0F}).node("Expand", {"unit", "shape"}, {"out"});
    EXPECT_EQ(floatsFrom(configFor(network), {1.0F, 0.0F}, 1), std::vector<float>{1.0F});
    TensorMap inputs{{"in", floatTensor({3.0F, 0.0F})}};
    TensorMap outputs{{"out", byteBuffer(4, 7)}};
    expectRefusal(infer(inputs, outputs), 9, {"'out'", "another shape"});
    EXPECT_EQ(bytesOf(outputs["out"]), std::vector<int>(4, 7));
}

/// Makes `branch` a graph inside the network's last node.
void addBranch(NetworkBuilder& network, const std::string& name, NetworkBuilder& branch) {
    branch.graph().set_name(name);
    onnx::AttributeProto& attribute = *network.graph().mutable_node()->rbegin()->add_attribute();
    attribute.set_name(name);
    attribute.set_type(onnx::AttributeProto::GRAPH);
    *attribute.mutable_g() = branch.graph();
}

TEST_F(EngineOnOnnxRuntime, RunsControlFlow) {
    NetworkBuilder network(13);
    network.input("in", {1, 2}).output("out", {1, 2});
    network.node("ReduceMax", {"in"}, {"largest"}).integer("keepdims", 0);
    network.floats("limit", {}, {1.0F}).node("Greater", {"largest", "limit"}, {"large"});
    network.node("If", {"large"}, {"out"});
    for (const auto& [branch, operation] :
         {std::pair<const char*, const char*>("then_branch", "Neg"), {"else_branch", "Identity"}}) {
        NetworkBuilder inner;
        inner.output(std::string(branch) + "_out", {1, 2})
            .node(operation, {"in"}, {std::string(branch) + "_out"});
        addBranch(network, branch, inner);
    }
    const AIEngineConfig config = configFor(network);
    EXPECT_EQ(floatsFrom(config, {0.5F, 0.25F}, 2), (std::vector<float>{0.5F, 0.25F}));
    EXPECT_EQ(floatsFrom(config, {0.5F, 3.0F}, 2), (std::vector<float>{-0.5F, -3.0F}));
}

TEST_F(EngineOnOnnxRuntime, RefusesAWindowThatDoesNotMoveInABranch) {
    NetworkBuilder network(13);
    network.input("in", {1, 1, 4, 4}).output("out", {1, 1, 2, 2});
    network.node("ReduceMax", {"in"}, {"largest"}).integer("keepdims", 0);
    network.floats("limit", {}, {1.0F}).node("Greater", {"largest", "limit"}, {"large"});
    network.node("If", {"large"}, {"out"});
    for (const auto& [branch, step] : {std::pair("then_branch", 0), std::pair("else_branch", 2)}) {
        const std::string result = std::string(branch) + "_out";
        NetworkBuilder inner;
        inner.output(result, {1, 1, 2, 2}).node("MaxPool", {"in"}, {result});
        inner.integers("kernel_shape", {2, 2}).integers("strides", {2, step});
        addBranch(network, branch, inner);
    }
    expectRefusal(init(configFor(network)), 4,
                  {"MaxPool 'node_then_branch_out'", "strides must lie in 1 .. "});
}

TEST_F(EngineOnOnnxRuntime, ReadsAnInputToItsEndBeforeAnOutputTakesItsPlace) {
    // Each output element needs an input element that lies further back than itself.
    NetworkBuilder network;
    network.input("in", {1, 1, 1, 12}).output("early", {1, 1, 1, 12}).output("out", {1, 1, 1, 12});
    network.node("Neg", {"in"}, {"early"});
    network.floats("weights", {1, 1, 1, 3}, {0.0F, 0.0F, 1.0F});
    network.node("Conv", {"in", "weights"}, {"out"})
        .integers("kernel_shape", {1, 3})
        .integers("pads", {0, 1, 0, 1});
    expectSilentSuccess(init(configFor(network)));
    TensorMap inputs{{"in", floatTensor({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12})}};
    TensorMap outputs{{"early", inputs["in"]}, {"out", byteBuffer(48)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["out"]), (std::vector<float>{2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0}));
    EXPECT_EQ(floatsOf(outputs["early"]),
              (std::vector<float>{-1, -2, -3, -4, -5, -6, -7, -8, -9, -10, -11, -12}));
}

std::ptrdiff_t threadsOfThisProcess() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

TEST_F(EngineOnOnnxRuntime, HasAsManyThreadsOfItsOwnAsTheVariableSays) {
    // What the library keeps for the whole process is there after its first network.
    AIEngine first;
    expectSilentSuccess(answerOf([&] { return first.Init(configFor(addition(1.0F))); }));
    for (const int threads : {1, 2, 5}) {
        const EnvironmentVariable variable("BRELLIX_ENGINE_THREADS", std::to_string(threads));
        const std::ptrdiff_t before = threadsOfThisProcess();
        AIEngine engine;
        const AIEngineConfig config = configFor(addition(1.0F));
        expectSilentSuccess(answerOf([&] { return engine.Init(config); }));
        // The caller's thread works, too.
        EXPECT_EQ(threadsOfThisProcess() - before, threads - 1);
    }
}

TEST_F(EngineOnOnnxRuntime, NamesTheLibraryThatRefuses) {
    NetworkBuilder network = addition(1.0F);
    network.model().set_ir_version(99);
    expectRefusal(init(configFor(network)), 4, {"back-end onnxruntime (ONNX Runtime 1.", "IR version"});
}

TEST_F(EngineOnOnnxRuntime, LetsOpencvRunWhatItRefusesWhereTheChoiceIsFree) {
    const EnvironmentVariable backend("BRELLIX_ENGINE_BACKEND", "auto");
    NetworkBuilder network = addition(1.0F);
    network.model().set_ir_version(99);
    expectRefusal(init(configFor(network)), 0,
                  {"back-end onnxruntime", "IR version", "opencv_dnn runs it instead"});
    TensorMap inputs{{"in", floatTensor(std::vector<float>(12, 2.0F))}};
    TensorMap outputs{{"out", byteBuffer(48)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["out"]), std::vector<float>(12, 3.0F));
}

TEST_F(EngineOnOnnxRuntime, IsTheFirstWhereTheChoiceIsFree) {
    const EnvironmentVariable backend("BRELLIX_ENGINE_BACKEND", "auto");
    expectSilentSuccess(init(configFor(absolute(onnx::TensorProto::FLOAT16, {1, 4}))));
}

TEST_F(EngineOnOnnxRuntime, GivesItsOwnReasonWhereNoBackEndRunsTheNetwork) {
    const EnvironmentVariable backend("BRELLIX_ENGINE_BACKEND", "auto");
    NetworkBuilder network;
    network.input("in", {1, 2}).output("out", {1, 2}).node("Magic", {"in"}, {"out"});
    expectRefusal(init(configFor(network)), 4, {"back-end onnxruntime", "Magic"});
}

}  // namespace
}  // namespace brellix::testing
