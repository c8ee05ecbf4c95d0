// Networks whose outputs end at the same value: each buffer gets what belongs into it, on every back-end.

#include <cstdint>

#include "engine_fixture.h"

namespace brellix::testing {
namespace {

constexpr std::int8_t kUntouched = 0x5A;

class EngineSharedValues : public EngineTest {
  protected:
    /// Runs the network on 1, -2, 3.3, -4. \return its outputs `a` and `b` as floats.
    std::vector<std::vector<float>> outputsOf(const NetworkBuilder& network) {
        expectSilentSuccess(init(configFor(network)));
        TensorMap inputs{{"in", floatTensor({1.0F, -2.0F, 3.3F, -4.0F})}};
        TensorMap outputs{{"a", byteBuffer(16, kUntouched)}, {"b", byteBuffer(16, kUntouched)}};
        expectSilentSuccess(infer(inputs, outputs));
        return {floatsOf(outputs["a"]), floatsOf(outputs["b"])};
    }
};

/// v = |in|, to be quantised on the grids of scale 0.5 and 0.25 with the unsigned zero point 0.
NetworkBuilder absolute() {
    NetworkBuilder network;
    network.input("in", {1, 4}).floats("half", {}, {0.5F}).floats("quarter", {}, {0.25F});
    network.byte("zero", onnx::TensorProto::UINT8, 0);
    return network;
}

const std::vector<float> kOnHalves{1.0F, 2.0F, 3.5F, 4.0F};
const std::vector<float> kOnQuarters{1.0F, 2.0F, 3.25F, 4.0F};
const std::vector<float> kAsTheyAre{1.0F, 2.0F, 3.3F, 4.0F};

TEST_F(EngineSharedValues, OfTwoGridsAreBothGiven) {
    NetworkBuilder network = absolute();
    network.output("a", {1, 4}, onnx::TensorProto::UINT8).output("b", {1, 4}, onnx::TensorProto::UINT8);
    network.node("Abs", {"in"}, {"v"}).node("QuantizeLinear", {"v", "half", "zero"}, {"a"});
    network.node("QuantizeLinear", {"v", "quarter", "zero"}, {"b"});
    EXPECT_EQ(outputsOf(network), (std::vector<std::vector<float>>{kOnHalves, kOnQuarters}));
}

TEST_F(EngineSharedValues, AsFloatsAndOnAGridAreBothGiven) {
    NetworkBuilder network = absolute();
    network.output("a", {1, 4}).output("b", {1, 4}, onnx::TensorProto::UINT8);
    network.node("Abs", {"in"}, {"a"}).node("QuantizeLinear", {"a", "half", "zero"}, {"b"});
    EXPECT_EQ(outputsOf(network), (std::vector<std::vector<float>>{kAsTheyAre, kOnHalves}));
}

TEST_F(EngineSharedValues, OnAGridAndAsFloatsAreBothGiven) {
    NetworkBuilder network = absolute();
    network.output("a", {1, 4}, onnx::TensorProto::UINT8).output("b", {1, 4});
    network.node("Abs", {"in"}, {"b"}).node("QuantizeLinear", {"b", "half", "zero"}, {"a"});
    EXPECT_EQ(outputsOf(network), (std::vector<std::vector<float>>{kOnHalves, kAsTheyAre}));
}

TEST_F(EngineSharedValues, AsBytesAndBackAreBothGiven) {
    NetworkBuilder network = absolute();
    network.output("a", {1, 4}, onnx::TensorProto::UINT8).output("b", {1, 4});
    network.node("Abs", {"in"}, {"v"}).node("QuantizeLinear", {"v", "half", "zero"}, {"a"});
    network.node("DequantizeLinear", {"a", "half", "zero"}, {"b"});
    EXPECT_EQ(outputsOf(network), (std::vector<std::vector<float>>{kOnHalves, kOnHalves}));
}

}  // namespace
}  // namespace brellix::testing
