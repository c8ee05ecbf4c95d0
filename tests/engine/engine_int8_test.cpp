// Outputs as int8: where the grid comes from and how values fall on it.

#include <cmath>
#include <limits>

#include "engine_fixture.h"

namespace brellix::testing {
namespace {

/// A network that gives its input back, 1x4 elements.
NetworkBuilder identity() {
    NetworkBuilder network;
    network.input("in", {1, 4}).output("out", {1, 4});
    network.floats("zero", {1, 4}, std::vector<float>(4, 0.0F)).node("Add", {"in", "zero"}, {"out"});
    return network;
}

class EngineInt8 : public EngineTest {
  protected:
    /// Runs `network` on four values. \return its output as int8.
    AIBuff quantized(const NetworkBuilder& network, const std::vector<float>& values) {
        expectSilentSuccess(init(configFor(network)));
        TensorMap inputs{{"in", floatTensor(values)}};
        TensorMap outputs{{"out", byteBuffer(4, 99)}};
        expectSilentSuccess(infer(inputs, outputs));
        EXPECT_EQ(outputs["out"].type, 0);
        return outputs["out"];
    }

    void calibrate(const std::string& tensor) {
        folder_.write("network.onnx.calibration.yaml", "schema: 1\ntensors:\n  " + tensor + "\n");
    }
};

TEST_F(EngineInt8, TakesTheTensorsOwnRange) {
    const AIBuff output = quantized(identity(), {-1.0F, 0.0F, 1.0F, 3.0F});
    EXPECT_EQ(output.scale, static_cast<float>(4.0 / 255.0));
    EXPECT_EQ(output.zp, -64);
    EXPECT_EQ(bytesOf(output), (std::vector<int>{-128, -64, 0, 127}));
}

TEST_F(EngineInt8, KeepsZeroInsideARangeAboveIt) {
    const AIBuff output = quantized(identity(), {5.0F, 10.2F, 2.52F, 25.5F});
    EXPECT_EQ(output.scale, static_cast<float>(static_cast<double>(25.5F) / 255.0));
    EXPECT_EQ(output.zp, -128);
    EXPECT_EQ(bytesOf(output), (std::vector<int>{-78, -26, -103, 127}));
}

TEST_F(EngineInt8, KeepsZeroInsideARangeBelowIt) {
    const AIBuff output = quantized(identity(), {-25.5F, -1.0F, -10.0F, -2.0F});
    EXPECT_EQ(output.zp, 127);
    EXPECT_EQ(bytesOf(output), (std::vector<int>{-128, 117, 27, 107}));
}

TEST_F(EngineInt8, GivesScaleOneToATensorOfZeros) {
    const AIBuff output = quantized(identity(), {0.0F, 0.0F, 0.0F, 0.0F});
    EXPECT_EQ(output.scale, 1.0F);
    EXPECT_EQ(output.zp, 0);
    EXPECT_EQ(bytesOf(output), (std::vector<int>{0, 0, 0, 0}));
}

TEST_F(EngineInt8, LeavesNanAndInfinityOutOfTheRange) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const AIBuff output = quantized(identity(), {NAN, kInfinity, -kInfinity, 2.55F});
    EXPECT_EQ(output.scale, static_cast<float>(static_cast<double>(2.55F) / 255.0));
    EXPECT_EQ(output.zp, -128);
    EXPECT_EQ(bytesOf(output), (std::vector<int>{-128, 127, -128, 127}));
}

TEST_F(EngineInt8, KeepsAPositiveScaleForExtremeRanges) {
    constexpr float kLargest = std::numeric_limits<float>::max();
    const AIBuff wide = quantized(identity(), {-kLargest, kLargest, 0.0F, 0.0F});
    EXPECT_TRUE(std::isfinite(wide.scale));
    EXPECT_EQ(bytesOf(wide), (std::vector<int>{-128, 127, wide.zp, wide.zp}));
    constexpr float kSmallest = std::numeric_limits<float>::denorm_min();
    const AIBuff narrow = quantized(identity(), {kSmallest, 0.0F, 0.0F, 0.0F});
    EXPECT_GT(narrow.scale, 0.0F);
    EXPECT_EQ(bytesOf(narrow), (std::vector<int>(4, narrow.zp)));
}

TEST_F(EngineInt8, TakesTheCalibratedRange) {
    calibrate("out: {min: -1, max: 3}");
    const AIBuff output = quantized(identity(), {-9.0F, 0.0F, 1.0F, 9.0F});
    EXPECT_EQ(output.scale, static_cast<float>(4.0 / 255.0));
    EXPECT_EQ(output.zp, -64);
    EXPECT_EQ(bytesOf(output), (std::vector<int>{-128, -64, 0, 127}));
}

TEST_F(EngineInt8, CalibratesSymmetrically) {
    calibrate("out: {min: -1, max: 2.54, symmetric: true}");
    const AIBuff output = quantized(identity(), {-2.54F, 0.0F, 1.0F, -9.0F});
    EXPECT_EQ(output.scale, static_cast<float>(static_cast<double>(2.54F) / 127.0));
    EXPECT_EQ(output.zp, 0);
    EXPECT_EQ(bytesOf(output), (std::vector<int>{-127, 0, 50, -128}));
}

TEST_F(EngineInt8, RoundsTiesToEven) {
    calibrate("out: {min: -127, max: 127, symmetric: true}");
    const AIBuff output = quantized(identity(), {0.5F, 1.5F, -2.5F, 2.4999F});
    EXPECT_EQ(output.scale, 1.0F);
    EXPECT_EQ(bytesOf(output), (std::vector<int>{0, 2, -2, 2}));
}

TEST_F(EngineInt8, TakesTheGraphsGridBeforeTheCalibration) {
    calibrate("out: {min: -1, max: 3}");
    NetworkBuilder network(13);
    network.input("in", {1, 4}).output("out", {1, 4}, onnx::TensorProto::INT8);
    network.floats("scale", {}, {0.5F}).byte("zero", onnx::TensorProto::INT8, 3);
    network.node("Relu", {"in"}, {"values"});
    network.node("QuantizeLinear", {"values", "scale", "zero"}, {"out"});
    const AIBuff output = quantized(network, {-5.0F, 1.0F, 2.25F, 1000.0F});
    EXPECT_EQ(output.scale, 0.5F);
    EXPECT_EQ(output.zp, 3);
    EXPECT_EQ(bytesOf(output), (std::vector<int>{3, 5, 7, 127}));
}

TEST_F(EngineInt8, MovesUnsignedGraphOutputsToSignedBytes) {
    NetworkBuilder network(13);
    network.input("in", {1, 4}).output("out", {1, 4}, onnx::TensorProto::UINT8);
    network.floats("scale", {}, {0.5F}).byte("zero", onnx::TensorProto::UINT8, 130);
    network.node("Relu", {"in"}, {"values"});
    network.node("QuantizeLinear", {"values", "scale", "zero"}, {"out"});
    const AIBuff output = quantized(network, {-5.0F, 1.0F, 2.0F, 1000.0F});
    EXPECT_EQ(output.zp, 2);
    EXPECT_EQ(bytesOf(output), (std::vector<int>{2, 4, 6, 127}));
}

TEST_F(EngineInt8, GivesAQuantisedOutputAsFloatsOnItsGrid) {
    NetworkBuilder network(13);
    network.input("in", {1, 4}).output("out", {1, 4});
    network.floats("scale", {}, {0.5F}).byte("zero", onnx::TensorProto::INT8, 3);
    network.node("Relu", {"in"}, {"values"});
    network.node("QuantizeLinear", {"values", "scale", "zero"}, {"bytes"});
    network.node("DequantizeLinear", {"bytes", "scale", "zero"}, {"out"});
    expectSilentSuccess(init(configFor(network)));
    TensorMap inputs{{"in", floatTensor({-5.0F, 1.0F, 2.3F, 1000.0F})}};
    TensorMap outputs{{"out", byteBuffer(16)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(outputs["out"].type, 2);
    EXPECT_EQ(floatsOf(outputs["out"]), (std::vector<float>{0.0F, 1.0F, 2.5F, 62.0F}));
}

TEST_F(EngineInt8, MixesWithFloatOutputs) {
    expectSilentSuccess(init(configFor(arithmetic())));
    TensorMap inputs{{"left", floatTensor(std::vector<float>(12, 5.0F))},
                     {"right", floatTensor(std::vector<float>(12, 2.0F))}};
    TensorMap outputs{{"sum", byteBuffer(12)}, {"product", byteBuffer(48)}, {"negated", byteBuffer(12)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(bytesOf(outputs["sum"]), std::vector<int>(12, 127));
    EXPECT_EQ(outputs["sum"].type, 0);
    EXPECT_EQ(floatsOf(outputs["product"]), std::vector<float>(12, 10.0F));
    EXPECT_EQ(outputs["product"].type, 2);
    EXPECT_EQ(bytesOf(outputs["negated"]), std::vector<int>(12, -128));
}

TEST_F(EngineInt8, RefusesAMalformedCalibrationFile) {
    calibrate("out: {min: low, max: 3}");
    expectRefusal(init(configFor(identity())), 11, {"network.onnx.calibration.yaml", "line 3", "'low'"});
}

TEST_F(EngineInt8, RefusesACalibrationForAnotherNetwork) {
    calibrate("output9: {min: 0, max: 3}");
    expectRefusal(init(configFor(identity())), 11, {"'output9'", "calibrate again"});
}

}  // namespace
}  // namespace brellix::testing
