// The forms in which tensors cross the boundary, as floats.

#include <cstdint>
#include <thread>

#include "engine_fixture.h"

namespace brellix::testing {
namespace {

using EngineInference = EngineTest;

std::vector<float> counting(std::size_t count, float first) {
    std::vector<float> values(count);
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = first + static_cast<float>(i);
    }
    return values;
}

TEST_F(EngineInference, RefusesBeforeInit) {
    TensorMap inputs{{"in", floatTensor(counting(12, 0.0F))}};
    TensorMap outputs{{"out", byteBuffer(48, 7)}};
    expectRefusal(infer(inputs, outputs), 6, {"Init was not called or has failed"});
    EXPECT_EQ(bytesOf(outputs["out"]), std::vector<int>(48, 7));
}

TEST_F(EngineInference, RunsAFloatTensor) {
    expectSilentSuccess(init(configFor(addition(0.5F))));
    TensorMap inputs{{"in", floatTensor(counting(12, 0.0F))}};
    TensorMap outputs{{"out", byteBuffer(48)}};
    const std::int8_t* const before = outputs["out"].data->data();
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["out"]), counting(12, 0.5F));
    EXPECT_EQ(outputs["out"].type, 2);
    EXPECT_EQ(outputs["out"].data->data(), before) << "the buffer is written in place";
}

TEST_F(EngineInference, GivesTheSameForTheSameInputAgain) {
    expectSilentSuccess(init(configFor(arithmetic())));
    TensorMap inputs{{"left", floatTensor(counting(12, 1.0F))}, {"right", floatTensor(counting(12, 2.0F))}};
    std::vector<std::vector<float>> results;
    for (int run = 0; run < 3; ++run) {
        TensorMap outputs{{"sum", byteBuffer(48)}, {"product", byteBuffer(48)}, {"negated", byteBuffer(48)}};
        expectSilentSuccess(infer(inputs, outputs));
        results.push_back(floatsOf(outputs["negated"]));
    }
    EXPECT_EQ(results[0][0], -3.0F);
    EXPECT_EQ(results[0], results[1]);
    EXPECT_EQ(results[0], results[2]);
}

TEST_F(EngineInference, MatchesSeveralTensorsByName) {
    expectSilentSuccess(init(configFor(arithmetic())));
    TensorMap inputs{{"left", floatTensor(std::vector<float>(12, 5.0F))},
                     {"right", floatTensor(std::vector<float>(12, 2.0F))}};
    TensorMap outputs{{"sum", byteBuffer(48)}, {"product", byteBuffer(48)}, {"negated", byteBuffer(48)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["sum"]), std::vector<float>(12, 7.0F));
    EXPECT_EQ(floatsOf(outputs["product"]), std::vector<float>(12, 10.0F));
    EXPECT_EQ(floatsOf(outputs["negated"]), std::vector<float>(12, -7.0F));
}

TEST_F(EngineInference, GivesAnySubsetOfTheOutputs) {
    expectSilentSuccess(init(configFor(arithmetic())));
    TensorMap inputs{{"left", floatTensor(std::vector<float>(12, 5.0F))},
                     {"right", floatTensor(std::vector<float>(12, 2.0F))}};
    for (const std::pair<std::string, float>& wanted : {std::pair<std::string, float>("sum", 7.0F),
                                                        {"negated", -7.0F},
                                                        {"product", 10.0F},
                                                        {"sum", 7.0F}}) {
        TensorMap outputs{{wanted.first, byteBuffer(48)}};
        expectSilentSuccess(infer(inputs, outputs));
        EXPECT_EQ(floatsOf(outputs[wanted.first]), std::vector<float>(12, wanted.second)) << wanted.first;
    }
}

TEST_F(EngineInference, MatchesASingleTensorByPosition) {
    expectSilentSuccess(init(configFor(addition(1.0F, "images", "output"))));
    TensorMap inputs{{"image", floatTensor(counting(12, 0.0F))}};
    TensorMap outputs{{"output0", byteBuffer(48)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["output0"]), counting(12, 1.0F));
}

TEST_F(EngineInference, TakesAnInterleavedImage) {
    expectSilentSuccess(init(configFor(addition(0.0F))));
    TensorMap bytes{{"in", byteBuffer(12)}};
    std::vector<float> planes(12);
    for (std::size_t pixel = 0; pixel < 4; ++pixel) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const auto value = static_cast<std::uint8_t>(250 - 23 * (3 * pixel + channel) + 10);
            (*bytes["in"].data)[3 * pixel + channel] = static_cast<std::int8_t>(value);
            planes[channel * 4 + pixel] = static_cast<float>(value) * 0.003921569F;
        }
    }
    TensorMap floats{{"in", floatTensor(planes)}};
    TensorMap fromBytes{{"out", byteBuffer(48)}};
    TensorMap fromFloats{{"out", byteBuffer(48)}};
    expectSilentSuccess(infer(bytes, fromBytes));
    expectSilentSuccess(infer(floats, fromFloats));
    EXPECT_EQ(floatsOf(fromBytes["out"]), planes);
    EXPECT_EQ(bytesOf(fromBytes["out"]), bytesOf(fromFloats["out"]));
}

TEST_F(EngineInference, RefusesBytesForATensorThatIsNoImage) {
    NetworkBuilder network;
    network.input("in", {1, 12}).output("out", {1, 12}).node("Relu", {"in"}, {"out"});
    expectSilentSuccess(init(configFor(network)));
    TensorMap inputs{{"in", byteBuffer(12)}};
    TensorMap outputs{{"out", byteBuffer(48, 7)}};
    expectRefusal(infer(inputs, outputs), 7, {"input 'in'", "12 bytes", "1x12", "48 for float32"});
    EXPECT_EQ(bytesOf(outputs["out"]), std::vector<int>(48, 7));
}

TEST_F(EngineInference, RefusesInputsOfAnotherSize) {
    expectSilentSuccess(init(configFor(addition(1.0F))));
    for (const std::size_t size : {0U, 1U, 11U, 13U, 24U, 47U, 49U, 96U}) {
        TensorMap inputs{{"in", byteBuffer(size)}};
        TensorMap outputs{{"out", byteBuffer(48, 7)}};
        expectRefusal(infer(inputs, outputs), 7,
                      {"input 'in'", std::to_string(size) + " bytes", "48 for float32", "12 for an 8-bit"});
        EXPECT_EQ(bytesOf(outputs["out"]), std::vector<int>(48, 7));
        EXPECT_EQ(outputs["out"].type, 2);
    }
}

TEST_F(EngineInference, TreatsNullDataLikeAnEmptyBuffer) {
    expectSilentSuccess(init(configFor(addition(1.0F))));
    TensorMap inputs{{"in", floatTensor(counting(12, 0.0F))}};
    TensorMap outputs{{"out", AIBuff()}};
    outputs["out"].data = nullptr;
    expectRefusal(infer(inputs, outputs), 8, {"output 'out'", "0 bytes"});
    EXPECT_EQ(outputs["out"].data, nullptr);
    inputs["in"].data = nullptr;
    expectRefusal(infer(inputs, outputs), 7, {"input 'in'", "0 bytes"});
}

TEST_F(EngineInference, RefusesMissingAndUnknownInputs) {
    expectSilentSuccess(init(configFor(arithmetic())));
    TensorMap outputs{{"sum", byteBuffer(48)}};
    TensorMap none;
    expectRefusal(infer(none, outputs), 7, {"input 'left'", "not given"});
    TensorMap one{{"left", byteBuffer(48)}};
    expectRefusal(infer(one, outputs), 7, {"input 'right'", "not given"});
    TensorMap unknown{{"left", byteBuffer(48)}, {"right", byteBuffer(48)}, {"middle", byteBuffer(48)}};
    expectRefusal(infer(unknown, outputs), 7, {"input 'middle'", "'left' (1x3x2x2), 'right'"});
}

TEST_F(EngineInference, RefusesUnknownOutputsAndNone) {
    expectSilentSuccess(init(configFor(arithmetic())));
    TensorMap inputs{{"left", byteBuffer(48)}, {"right", byteBuffer(48)}};
    TensorMap unknown{{"output0", byteBuffer(48, 7)}, {"sum", byteBuffer(48, 7)}};
    expectRefusal(infer(inputs, unknown), 8, {"output 'output0'", "'sum' (1x3x2x2), 'product'"});
    EXPECT_EQ(bytesOf(unknown["sum"]), std::vector<int>(48, 7));
    TensorMap none;
    expectRefusal(infer(inputs, none), 8, {"no output was asked for", "'sum'"});
}

TEST_F(EngineInference, RefusesOutputsThatAreTooShort) {
    expectSilentSuccess(init(configFor(arithmetic())));
    TensorMap inputs{{"left", byteBuffer(48)}, {"right", byteBuffer(48)}};
    for (const std::size_t size : {0U, 1U, 11U, 13U, 24U, 47U}) {
        TensorMap outputs{{"negated", byteBuffer(48, 7)}, {"sum", byteBuffer(size, 7)}};
        expectRefusal(infer(inputs, outputs), 8,
                      {"output 'sum'", std::to_string(size) + " bytes", "48 for float32", "12 for int8"});
        EXPECT_EQ(bytesOf(outputs["sum"]), std::vector<int>(size, 7));
        EXPECT_EQ(bytesOf(outputs["negated"]), std::vector<int>(48, 7));
    }
}

TEST_F(EngineInference, FillsTheFrontOfALongerOutputAndKeepsItsLength) {
    expectSilentSuccess(init(configFor(addition(1.0F))));
    TensorMap inputs{{"in", floatTensor(counting(12, 0.0F))}};
    TensorMap outputs{{"out", byteBuffer(61, 7)}};
    expectSilentSuccess(infer(inputs, outputs));
    ASSERT_EQ(outputs["out"].data->size(), 61U);
    std::vector<float> values = floatsOf(outputs["out"]);
    values.resize(12);
    EXPECT_EQ(values, counting(12, 1.0F));
    for (std::size_t i = 48; i < 61; ++i) {
        EXPECT_EQ((*outputs["out"].data)[i], 7);
    }
}

TEST_F(EngineInference, AllowsInputAndOutputToShareTheirBytes) {
    expectSilentSuccess(init(configFor(addition(1.0F))));
    TensorMap inputs{{"in", floatTensor(counting(12, 0.0F))}};
    TensorMap outputs{{"out", inputs["in"]}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["out"]), counting(12, 1.0F));
}

TEST_F(EngineInference, SplitsIntoUnequalPartsAsTheGraphSays) {
    NetworkBuilder network(13);
    network.input("in", {1, 6, 1, 2}).output("short", {1, 2, 1, 2}).output("long", {1, 4, 1, 2});
    network.int64s("sizes", {2, 4});
    network.node("Split", {"in", "sizes"}, {"short", "long"}).integer("axis", 1);
    expectSilentSuccess(init(configFor(network)));
    TensorMap inputs{{"in", floatTensor(counting(12, 0.0F))}};
    TensorMap outputs{{"short", byteBuffer(16)}, {"long", byteBuffer(32)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["short"]), counting(4, 0.0F));
    EXPECT_EQ(floatsOf(outputs["long"]), counting(8, 4.0F));
}

TEST_F(EngineInference, CountsANegativeGatherAxisFromTheBack) {
    NetworkBuilder network;
    network.input("in", {1, 3, 2, 2}).output("out", {1, 3, 1, 2}).int64s("second", {1});
    network.node("Gather", {"in", "second"}, {"out"}).integer("axis", -2);
    expectSilentSuccess(init(configFor(network)));
    TensorMap inputs{{"in", floatTensor(counting(12, 0.0F))}};
    TensorMap outputs{{"out", byteBuffer(24)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["out"]), (std::vector<float>{2, 3, 6, 7, 10, 11}));
}

TEST_F(EngineInference, RunsAConvolutionAndAReshape) {
    NetworkBuilder network;
    network.input("in", {1, 3, 2, 2}).output("out", {1, 8});
    network.floats("weights", {2, 3, 1, 1}, {1.0F, 2.0F, 3.0F, -1.0F, 0.0F, 1.0F});
    network.floats("bias", {2}, {0.5F, -0.5F}).int64s("shape", {1, 8});
    network.node("Conv", {"in", "weights", "bias"}, {"features"}).integers("kernel_shape", {1, 1});
    network.node("Reshape", {"features", "shape"}, {"out"});
    expectSilentSuccess(init(configFor(network)));
    TensorMap inputs{{"in", floatTensor(counting(12, 0.0F))}};
    TensorMap outputs{{"out", byteBuffer(32)}};
    expectSilentSuccess(infer(inputs, outputs));
    EXPECT_EQ(floatsOf(outputs["out"]),
              (std::vector<float>{32.5F, 38.5F, 44.5F, 50.5F, 7.5F, 7.5F, 7.5F, 7.5F}));
}

TEST_F(EngineInference, InstancesOnSeparateThreadsAreIndependent) {
    constexpr int kThreads = 4;
    std::vector<AIEngineConfig> configs;
    for (int i = 0; i < kThreads; ++i) {
        configs.push_back(configFor(addition(static_cast<float>(i)), std::to_string(i) + ".onnx"));
    }
    std::vector<std::vector<float>> results(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([&config = configs[i], &result = results[i]] {
            AIEngine engine;
            ASSERT_EQ(engine.Init(config), 0);
            for (int run = 0; run < 20; ++run) {
                TensorMap inputs{{"in", floatTensor(std::vector<float>(12, 1.0F))}};
                TensorMap outputs{{"out", byteBuffer(48)}};
                ASSERT_EQ(engine.DoInference(inputs, outputs), 0);
                result = floatsOf(outputs["out"]);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < kThreads; ++i) {
        EXPECT_EQ(results[i], std::vector<float>(12, 1.0F + static_cast<float>(i)));
    }
}

}  // namespace
}  // namespace brellix::testing
