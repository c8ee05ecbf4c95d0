// Which networks and configurations `Init` takes, and what it says about the others.

#include <sys/stat.h>
#include <unistd.h>

#include "engine_fixture.h"

namespace brellix::testing {
namespace {

using EngineInit = EngineTest;

TEST_F(EngineInit, LoadsANetworkThatFitsTheTables) {
    AIEngineConfig config = configFor(addition(1.0F));
    config.input_sizes = {{"in", 12}};
    config.output_sizes = {{"out", 12}};
    config.input_shapes = {{"in", {1, 3, 2, 2}}};
    config.output_shapes = {{"out", {1, 3, 2, 2}}};
    config.input_types = {{"in", 2}};
    config.output_types = {{"out", 0}};
    expectSilentSuccess(init(config));
}

TEST_F(EngineInit, IgnoresTheFrameworkCode) {
    AIEngineConfig config = configFor(addition(1.0F));
    for (const int framework : {0, 1, 2, 3, 99}) {
        config.framework = framework;
        expectSilentSuccess(init(config));
    }
}

TEST_F(EngineInit, RefusesAMissingFile) {
    AIEngineConfig config;
    config.model_path = folder_.path() + "/absent.onnx";
    const Answer absolute = init(config);
    expectRefusal(absolute, 1, {config.model_path, "No such file", "set model_path"});
    EXPECT_EQ(absolute.standardError.find("working directory"), std::string::npos) << absolute.standardError;
    config.model_path = "absent.onnx";
    expectRefusal(init(config), 1, {"'absent.onnx'", "a relative path starts at the working directory"});
}

TEST_F(EngineInit, RefusesAnEmptyPath) {
    expectRefusal(init({}), 1, {"the path is empty", "set model_path"});
}

TEST_F(EngineInit, RefusesADirectory) {
    AIEngineConfig config;
    config.model_path = folder_.path();
    expectRefusal(init(config), 1, {config.model_path, "it is a directory"});
}

TEST_F(EngineInit, RefusesAPipeWithoutWaitingForItsWriter) {
    AIEngineConfig config;
    config.model_path = folder_.path() + "/pipe.onnx";
    ASSERT_EQ(::mkfifo(config.model_path.c_str(), 0600), 0);
    expectRefusal(init(config), 1, {config.model_path, "not a regular file"});
}

TEST_F(EngineInit, KeepsItsMessageOnOneLine) {
    AIEngineConfig config;
    config.model_path = folder_.path() + "/two\nlines\x1b[31m";
    expectRefusal(init(config), 1, {"two lines"});
}

TEST_F(EngineInit, RefusesAnEmptyFile) {
    AIEngineConfig config;
    config.model_path = folder_.write("empty.onnx", "");
    expectRefusal(init(config), 2, {config.model_path, "the file is empty"});
}

TEST_F(EngineInit, RefusesAFileBeyondTheFormatsLimit) {
    AIEngineConfig config;
    config.model_path = folder_.write("huge.onnx", "x");
    ASSERT_EQ(::truncate(config.model_path.c_str(), 3LL << 30), 0);
    expectRefusal(init(config), 2, {config.model_path, "3221225472 bytes", "at most 2147483647"});
}

TEST_F(EngineInit, RefusesAnotherFormatAndNamesTheBoardsLibrary) {
    AIEngineConfig config;
    config.model_path = folder_.write("network.rknn", std::string("RKNN\0\0\0\0 compiled for a board", 29));
    expectRefusal(init(config), 2,
                  {config.model_path, "this build runs ONNX networks", "the board's own engine library"});
}

TEST_F(EngineInit, RefusesAModelWithoutNodes) {
    NetworkBuilder network;
    network.input("in", {1, 4}).output("in", {1, 4});
    expectRefusal(init(configFor(network)), 2, {"no graph with nodes and outputs"});
}

TEST_F(EngineInit, RefusesAModelWithoutOperatorSet) {
    NetworkBuilder network = addition(1.0F);
    network.model().clear_opset_import();
    expectRefusal(init(configFor(network)), 2, {"names no operator set"});
}

TEST_F(EngineInit, RefusesWeightsShorterThanTheirShape) {
    NetworkBuilder network = addition(1.0F);
    network.graph().mutable_initializer(0)->set_dims(1, 4);
    expectRefusal(init(configFor(network)), 2, {"damaged", "'addend'", "1x4x2x2", "float32"});
}

TEST_F(EngineInit, RefusesRawWeightsOfAnotherLength) {
    NetworkBuilder network = addition(1.0F);
    network.graph().mutable_initializer(0)->clear_float_data();
    network.graph().mutable_initializer(0)->set_raw_data(std::string(47, '\0'));
    expectRefusal(init(configFor(network)), 2, {"damaged", "'addend'"});
}

TEST_F(EngineInit, RefusesWeightsWhoseExtentsOverflow) {
    for (const std::int64_t extent : {std::int64_t{-1}, std::int64_t{1} << 33, INT64_MAX}) {
        NetworkBuilder network = addition(1.0F);
        network.graph().mutable_initializer(0)->set_dims(1, extent);
        network.graph().mutable_initializer(0)->set_dims(2, extent);
        expectRefusal(init(configFor(network)), 2, {"damaged", "'addend'"});
    }
}

TEST_F(EngineInit, RefusesAnInputOfMoreElementsThanAnIntCounts) {
    NetworkBuilder network;
    network.input("in", {1, 3, 40000, 40000}).output("out", {1, 3, 40000, 40000});
    network.node("Relu", {"in"}, {"out"});
    expectRefusal(init(configFor(network)), 2, {"'in'", "1x3x40000x40000", "2147483647"});
}

TEST_F(EngineInit, RefusesAnotherInputSize) {
    AIEngineConfig config = configFor(addition(1.0F));
    config.input_sizes = {{"in", 48}};
    expectRefusal(
        init(config), 3,
        {config.model_path, "input 'in'", "expects 48 elements", "1x3x2x2", "12 elements", "input size"});
}

TEST_F(EngineInit, RefusesAnotherOutputSize) {
    AIEngineConfig config = configFor(addition(1.0F));
    config.output_sizes = {{"out", 6}};
    expectRefusal(init(config), 3, {"output 'out'", "expects 6 elements", "12 elements", "class count"});
}

TEST_F(EngineInit, RefusesNegativeAndZeroSizes) {
    AIEngineConfig config = configFor(addition(1.0F));
    for (const int size : {0, -12}) {
        config.output_sizes = {{"out", size}};
        expectRefusal(init(config), 3, {"expects " + std::to_string(size) + " elements"});
    }
}

TEST_F(EngineInit, RefusesAnotherShapeOfTheSameSize) {
    AIEngineConfig config = configFor(addition(1.0F));
    config.output_shapes = {{"out", {1, 2, 3, 2}}};
    expectRefusal(init(config), 3, {"output 'out'", "expects 1x2x3x2", "has 1x3x2x2"});
}

TEST_F(EngineInit, RefusesAnUnknownElementTypeCode) {
    AIEngineConfig config = configFor(addition(1.0F));
    config.input_types = {{"in", 7}};
    expectRefusal(init(config), 3, {"input 'in'", "type is 7", "0 (int8) or 2 (float32)"});
}

TEST_F(EngineInit, TellsEveryDifferenceInOneLine) {
    AIEngineConfig config = configFor(arithmetic());
    config.input_sizes = {{"left", 12}, {"right", 13}};
    config.output_sizes = {{"sum", 14}, {"product", 12}, {"difference", 12}};
    expectRefusal(init(config), 3,
                  {"input 'right'", "13 elements", "output 'sum'", "14 elements",
                   "output 'difference': the network has no such output", "'negated' (1x3x2x2)"});
}

TEST_F(EngineInit, MatchesASingleInputAndOutputByPosition) {
    AIEngineConfig config = configFor(addition(1.0F, "images", "output"));
    config.input_sizes = {{"image", 12}};
    config.output_sizes = {{"output0", 12}};
    expectSilentSuccess(init(config));
}

TEST_F(EngineInit, ComparesSizesAlsoOfATensorMatchedByPosition) {
    AIEngineConfig config = configFor(addition(1.0F, "images", "output"));
    config.input_sizes = {{"image", 13}};
    expectRefusal(init(config), 3, {"input 'image'", "13 elements"});
}

TEST_F(EngineInit, RefusesOneOfSeveralOutputsUnderAnotherName) {
    AIEngineConfig config = configFor(arithmetic());
    config.output_sizes = {{"output0", 12}};
    expectRefusal(init(config), 3, {"output 'output0'", "'sum' (1x3x2x2), 'product'"});
}

TEST_F(EngineInit, AcceptsATableOfSomeOfTheOutputs) {
    AIEngineConfig config = configFor(arithmetic());
    config.output_sizes = {{"product", 12}};
    expectSilentSuccess(init(config));
}

TEST_F(EngineInit, RefusesATableThatLacksAnInput) {
    AIEngineConfig config = configFor(arithmetic());
    config.input_sizes = {{"left", 12}};
    expectRefusal(init(config), 3, {"names 1 input", "'right' (1x3x2x2)"});
}

TEST_F(EngineInit, DoesNotCountInitializersAmongTheInputs) {
    NetworkBuilder network = addition(1.0F);
    network.model().set_ir_version(3);
    network.input("addend", {1, 3, 2, 2});
    AIEngineConfig config = configFor(network);
    config.input_sizes = {{"image", 12}};
    expectSilentSuccess(init(config));
}

TEST_F(EngineInit, InfersOutputShapesThatTheFileLeavesOpen) {
    NetworkBuilder network;
    network.input("in", {1, 3, 2, 2}).outputWithoutShape("out").node("Relu", {"in"}, {"out"});
    AIEngineConfig config = configFor(network);
    config.output_sizes = {{"out", 12}};
    expectSilentSuccess(init(config));
    config.output_sizes = {{"out", 13}};
    expectRefusal(init(config), 3, {"output 'out'", "1x3x2x2"});
}

TEST_F(EngineInit, RefusesASizeThatNoDynamicShapeCanHave) {
    NetworkBuilder network;
    network.input("in", {-1, 3, -1, -1}).output("out", {-1, 3, -1, -1}).node("Relu", {"in"}, {"out"});
    AIEngineConfig config = configFor(network);
    config.input_sizes = {{"in", 13}};
    expectRefusal(init(config), 3, {"'in'", "13 elements", "?x3x?x?"});
}

TEST_F(EngineInit, RefusesAnOutputThatIsNotFloat) {
    NetworkBuilder network;
    network.input("in", {1, 3, 2, 2}).output("out", {1, 3, 2, 2}, onnx::TensorProto::INT64);
    network.node("Cast", {"in"}, {"out"}).integer("to", onnx::TensorProto::INT64);
    expectRefusal(init(configFor(network)), 4, {"output 'out'", "int64", "float32"});
}

TEST_F(EngineInit, RefusesWeightsInAnotherFile) {
    NetworkBuilder network = addition(1.0F);
    onnx::TensorProto& weights = *network.graph().mutable_initializer(0);
    weights.clear_float_data();
    weights.set_data_location(onnx::TensorProto::EXTERNAL);
    onnx::StringStringEntryProto& location = *weights.add_external_data();
    location.set_key("location");
    location.set_value("weights.bin");
    expectRefusal(init(configFor(network)), 4, {"'addend'", "another file", "one file"});
}

/// Names ONNX's operator set once more, in that version.
NetworkBuilder withSecondOpset(std::int64_t version) {
    NetworkBuilder network = addition(1.0F);
    onnx::OperatorSetIdProto& opset = *network.model().add_opset_import();
    opset.set_domain("ai.onnx");
    opset.set_version(version);
    return network;
}

TEST_F(EngineInit, RefusesTwoVersionsOfTheOperatorSet) {
    expectRefusal(init(configFor(withSecondOpset(1))), 2, {"operator set twice", "version 12", "version 1;"});
}

TEST_F(EngineInit, TakesOneVersionOfTheOperatorSetThatIsNamedTwice) {
    expectSilentSuccess(init(configFor(withSecondOpset(12))));
}

TEST_F(EngineInit, RefusesAnUnknownOperator) {
    NetworkBuilder network;
    network.input("in", {1, 3, 2, 2}).output("out", {1, 3, 2, 2}).node("Magic", {"in"}, {"out"});
    expectRefusal(init(configFor(network)), 4, {"cannot run it", "Magic"});
}

TEST_F(EngineInit, RefusesANodeWithoutItsInputs) {
    NetworkBuilder network;
    network.input("in", {1, 3, 2, 2}).output("out", {1, 3, 2, 2}).node("Conv", {}, {"out"});
    expectRefusal(init(configFor(network)), 4, {"cannot run it", "Conv"});
}

/// Makes the first node somebody else's operator, of which the onnx library knows nothing.
void moveToAnotherDomain(NetworkBuilder& network) {
    network.graph().mutable_node(0)->set_domain("somebody.else");
    onnx::OperatorSetIdProto& opset = *network.model().add_opset_import();
    opset.set_domain("somebody.else");
    opset.set_version(1);
}

TEST_F(EngineInit, RefusesAnotherDomainsOperatorOfAKnownName) {
    for (const char* const kind : {"Conv", "QLinearConv", "MaxPool"}) {
        NetworkBuilder network;
        network.input("in", {1, 3, 2, 2}).output("out", {1, 3, 2, 2}).node(kind, {"in"}, {"out"});
        moveToAnotherDomain(network);
        EXPECT_EQ(init(configFor(network)).status, 4) << kind;
    }
}

TEST_F(EngineInit, RefusesAnotherDomainsOperatorWithoutAnInput) {
    for (const char* const kind : {"Softmax", "LogSoftmax", "Cast", "PRelu", "Resize", "Upsample"}) {
        NetworkBuilder network;
        network.input("in", {1, 3, 2, 2}).output("out", {1, 3, 2, 2}).node(kind, {}, {"out"});
        moveToAnotherDomain(network);
        expectRefusal(init(configFor(network)), 4, {"cannot run it", kind, "somebody.else"});
    }
}

TEST_F(EngineInit, RefusesAWindowThatDoesNotMove) {
    NetworkBuilder network;
    network.input("in", {1, 3, 4, 4}).output("out", {1, 3, 2, 2});
    network.node("MaxPool", {"in"}, {"out"}).integers("kernel_shape", {2, 2}).integers("strides", {0, 2});
    expectRefusal(init(configFor(network)), 4, {"MaxPool", "node_out", "strides"});
}

TEST_F(EngineInit, RefusesShapesThatDoNotFitEachOther) {
    NetworkBuilder network;
    network.input("in", {1, 3, 2, 2}).output("out", {1, 5, 2, 2});
    network.floats("weights", {5, 4, 1, 1}, std::vector<float>(20, 1.0F));
    network.node("Conv", {"in", "weights"}, {"out"});
    EXPECT_EQ(init(configFor(network)).status, 4);
}

TEST_F(EngineInit, RefusesConvolutionsWhoseInputHasOtherDimensionsThanTheirWeights) {
    for (const Shape& shape : {Shape{1, 1}, {1, 1, 4}, {1, 1, 4, 4, 4}}) {
        for (const char* const kind : {"Conv", "ConvTranspose"}) {
            NetworkBuilder network;
            network.input("in", shape).outputWithoutShape("out");
            network.floats("weights", {1, 1, 1, 1}, {1.0F});
            network.node(kind, {"in", "weights"}, {"out"});
            EXPECT_EQ(init(configFor(network)).status, 4) << kind << " of " << shape.size() << " dimensions";
        }
    }
}

TEST_F(EngineInit, RefusesQuantizedConvolutionsThatDoNotMove) {
    NetworkBuilder network;
    network.input("in", {1, 1, 4, 4}).outputWithoutShape("out");
    network.floats("one", {}, {1.0F}).byte("zero", onnx::TensorProto::UINT8, 0);
    onnx::TensorProto& weights =
        *network.byte("weights", onnx::TensorProto::UINT8, 1).graph().mutable_initializer(2);
    weights.mutable_dims()->Resize(4, 1);
    network.node("QuantizeLinear", {"in", "one", "zero"}, {"bytes"});
    network.node("ConvInteger", {"bytes", "weights"}, {"sums"}).integers("strides", {0, 1});
    network.node("Cast", {"sums"}, {"out"}).integer("to", onnx::TensorProto::FLOAT);
    EXPECT_EQ(init(configFor(network)).status, 4);
}

TEST_F(EngineInit, LeavesTheInstanceAsItWasWhenItFails) {
    expectSilentSuccess(init(configFor(addition(1.0F))));
    AIEngineConfig absent;
    absent.model_path = "absent";
    EXPECT_EQ(init(absent).status, 1);
    TensorMap inputs{{"in", floatTensor(std::vector<float>(12, 2.0F))}};
    TensorMap outputs{{"out", byteBuffer(48)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["out"]), std::vector<float>(12, 3.0F));
}

TEST_F(EngineInit, ReplacesTheNetworkWhenItSucceeds) {
    expectSilentSuccess(init(configFor(addition(1.0F), "one.onnx")));
    expectSilentSuccess(init(configFor(addition(5.0F), "five.onnx")));
    TensorMap inputs{{"in", floatTensor(std::vector<float>(12, 2.0F))}};
    TensorMap outputs{{"out", byteBuffer(48)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["out"]), std::vector<float>(12, 7.0F));
}

TEST_F(EngineInit, NamesStoredTypesThatItDoesNotKnowYet) {
    NetworkBuilder network = addition(1.0F);
    onnx::TensorProto& weights = *network.graph().add_initializer();
    weights.set_name("small");
    weights.add_dims(2);
    weights.set_data_type(22);
    weights.set_raw_data("\x12");
    expectRefusal(init(configFor(network)), 4, {"'small'", "type 22", "float16"});
    network.graph().mutable_initializer(network.graph().initializer_size() - 1)->set_data_type(99);
    expectRefusal(init(configFor(network)), 2, {"'small'", "type 99", "damaged"});
}

/// From this version of the operators on, the onnx library follows what Shape reads.
constexpr std::int64_t kShapeIsFollowed = 17;

TEST_F(EngineInit, TellsShapesThatDoNotFitBeforeAShape) {
    NetworkBuilder network(kShapeIsFollowed);
    network.input("in", {1, 2}).input("more", {3, 5}).output("out", {2});
    network.node("Add", {"in", "more"}, {"sum"}).node("Shape", {"sum"}, {"shape"});
    network.node("Cast", {"shape"}, {"out"}).integer("to", onnx::TensorProto::FLOAT);
    expectRefusal(init(configFor(network)), 4, {"Incompatible dimensions"});
}

TEST_F(EngineInit, OutlivesAShapeOfAnotherDomainsValue) {
    NetworkBuilder network(kShapeIsFollowed);
    network.input("in", {1, 2}).output("out", {2});
    network.node("Own", {"in"}, {"value"}).node("Shape", {"value"}, {"shape"});
    network.node("Cast", {"shape"}, {"out"}).integer("to", onnx::TensorProto::FLOAT);
    moveToAnotherDomain(network);
    EXPECT_NE(init(configFor(network)).status, 0);
}

TEST_F(EngineInit, DoesNotNeedTheFileAfterwards) {
    const AIEngineConfig config = configFor(addition(1.0F));
    expectSilentSuccess(init(config));
    ASSERT_EQ(::unlink(config.model_path.c_str()), 0);
    TensorMap inputs{{"in", floatTensor(std::vector<float>(12, 2.0F))}};
    TensorMap outputs{{"out", byteBuffer(48)}};
    expectSilentSuccess(infer(inputs, outputs));
}

}  // namespace
}  // namespace brellix::testing
