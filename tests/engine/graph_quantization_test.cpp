// What quantisation at the end of a graph is read as, and how the graph is cut in front of it.

#include "graph/graph_quantization.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "graph/quantized_ends.h"
#include "network_builder.h"

namespace brellix::testing {
namespace {

using ai_orvo::alg::common::endBeforeQuantization;
using ai_orvo::alg::common::QuantizedOutput;
using ai_orvo::alg::common::quantizedOutput;

/// in -> Abs -> v -> QuantizeLinear -> out, of scale 0.5 and without a zero point.
NetworkBuilder quantizedWithoutZeroPoint() {
    NetworkBuilder network(21);
    network.input("in", {1, 4}).output("out", {1, 4}, onnx::TensorProto::UINT8);
    network.floats("scale", {}, {0.5F}).node("Abs", {"in"}, {"v"});
    network.node("QuantizeLinear", {"v", "scale"}, {"out"});
    return network;
}

std::optional<int> zeroPointOfOut(NetworkBuilder network) {
    const std::optional<QuantizedOutput> quantized = quantizedOutput(network.graph(), "out");
    return quantized ? std::optional<int>(quantized->grid.zeroPoint) : std::nullopt;
}

std::vector<std::string> kindsOfNodes(NetworkBuilder& network) {
    std::vector<std::string> kinds;
    for (const onnx::NodeProto& node : network.graph().node()) {
        kinds.push_back(node.op_type());
    }
    return kinds;
}

TEST(QuantizedOutputOfAGraph, WithoutAZeroPointIsOfUnsignedBytes) {
    EXPECT_EQ(zeroPointOfOut(quantizedWithoutZeroPoint()), -128);
}

TEST(QuantizedOutputOfAGraph, IsOfTheTypeThatTheNodeStates) {
    const auto stating = [](std::int64_t type) {
        return quantizedWithoutZeroPoint().integer("output_dtype", type);
    };
    EXPECT_EQ(zeroPointOfOut(stating(0)), -128);
    EXPECT_EQ(zeroPointOfOut(stating(onnx::TensorProto::UINT8)), -128);
    EXPECT_EQ(zeroPointOfOut(stating(onnx::TensorProto::INT8)), 0);
    EXPECT_EQ(zeroPointOfOut(stating(onnx::TensorProto::INT16)), std::nullopt);
}

TEST(QuantizedOutputOfAGraph, GoesOnInTheStatedTypeToItsDequantisation) {
    NetworkBuilder network(21);
    network.input("in", {1, 4}).output("out", {1, 4}).floats("scale", {}, {0.5F});
    network.node("QuantizeLinear", {"in", "scale"}, {"bytes"})
        .integer("output_dtype", onnx::TensorProto::INT8);
    network.node("DequantizeLinear", {"bytes", "scale"}, {"out"});
    EXPECT_EQ(zeroPointOfOut(network), 0);
}

TEST(QuantizedOutputOfAGraph, TakesAScaleFromAConstantNumber) {
    NetworkBuilder network;
    network.input("in", {1, 4}).output("out", {1, 4}, onnx::TensorProto::UINT8);
    network.node("Constant", {}, {"scale"});
    onnx::AttributeProto& value = *network.graph().mutable_node(0)->add_attribute();
    value.set_name("value_float");
    value.set_type(onnx::AttributeProto::FLOAT);
    value.set_f(0.25F);
    network.node("QuantizeLinear", {"in", "scale"}, {"out"});
    const std::optional<QuantizedOutput> quantized = quantizedOutput(network.graph(), "out");
    ASSERT_TRUE(quantized.has_value());
    EXPECT_EQ(quantized->grid.scale, 0.25F);
}

TEST(QuantizedOutputOfAGraph, IsNotWhatAnotherDomainCallsSo) {
    NetworkBuilder network = quantizedWithoutZeroPoint();
    network.graph().mutable_node(1)->set_domain("my");
    EXPECT_EQ(zeroPointOfOut(network), std::nullopt);
    network.graph().mutable_node(1)->set_domain("ai.onnx");
    EXPECT_EQ(zeroPointOfOut(network), -128);
}

TEST(EndBeforeQuantization, TakesAwayWhatNothingUsesAnyMore) {
    NetworkBuilder network;
    network.input("in", {1, 4}).output("out", {1, 4}).floats("scale", {}, {0.5F});
    network.node("Abs", {"in"}, {"v"}).node("QuantizeLinear", {"v", "scale"}, {"bytes"});
    network.node("DequantizeLinear", {"bytes", "scale"}, {"out"});
    EXPECT_EQ(endBeforeQuantization(network.graph()), std::vector<std::string>{"v"});
    EXPECT_EQ(kindsOfNodes(network), std::vector<std::string>{"Abs"});
    ASSERT_EQ(network.graph().output_size(), 1);
    EXPECT_EQ(network.graph().output(0).name(), "v");
}

TEST(EndBeforeQuantization, KeepsWhatAnEarlierNodeUses) {
    NetworkBuilder network;
    network.input("in", {1, 4}).output("out", {1, 4}).floats("scale", {}, {0.5F});
    network.node("Abs", {"back"}, {"out"});
    network.node("QuantizeLinear", {"in", "scale"}, {"bytes"});
    network.node("DequantizeLinear", {"bytes", "scale"}, {"back"});
    endBeforeQuantization(network.graph());
    EXPECT_EQ(kindsOfNodes(network), (std::vector<std::string>{"Abs", "QuantizeLinear", "DequantizeLinear"}));
}

TEST(EndBeforeQuantization, KeepsWhatAGraphInsideANodeUses) {
    NetworkBuilder branch;
    branch.output("inner", {1, 4}).node("Abs", {"back"}, {"inner"});
    NetworkBuilder network;
    network.input("in", {1, 4}).output("out", {1, 4}).floats("scale", {}, {0.5F});
    network.node("QuantizeLinear", {"in", "scale"}, {"bytes"});
    network.node("DequantizeLinear", {"bytes", "scale"}, {"back"});
    network.node("If", {"condition"}, {"out"});
    onnx::AttributeProto& attribute = *network.graph().mutable_node(2)->add_attribute();
    attribute.set_name("then_branch");
    attribute.set_type(onnx::AttributeProto::GRAPH);
    *attribute.mutable_g() = branch.graph();
    endBeforeQuantization(network.graph());
    EXPECT_EQ(kindsOfNodes(network), (std::vector<std::string>{"QuantizeLinear", "DequantizeLinear", "If"}));
}

TEST(EndBeforeQuantization, NamesAValueOnceInWhicheverOrderTheOutputsCome) {
    for (const bool floatsFirst : {true, false}) {
        NetworkBuilder network;
        network.input("in", {1, 4}).floats("scale", {}, {0.5F});
        network.node("Abs", {"in"}, {"v"}).node("QuantizeLinear", {"v", "scale"}, {"bytes"});
        for (const bool isFloat : {floatsFirst, !floatsFirst}) {
            network.output(isFloat ? "v" : "bytes", {1, 4},
                           isFloat ? onnx::TensorProto::FLOAT : onnx::TensorProto::UINT8);
        }
        EXPECT_EQ(endBeforeQuantization(network.graph()), (std::vector<std::string>{"v", "v"}));
        EXPECT_EQ(network.graph().output_size(), 1) << floatsFirst;
    }
}

}  // namespace
}  // namespace brellix::testing
