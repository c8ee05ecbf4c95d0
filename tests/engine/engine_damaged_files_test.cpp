// Damaged files: whatever the bytes are, the engine answers with a status.

#include <random>

#include "engine_fixture.h"

namespace brellix::testing {
namespace {

class EngineDamagedFiles : public EngineTest {
  protected:
    /// Loads the bytes and, where that succeeds, runs them.
    int tryBytes(const std::string& bytes) {
        AIEngineConfig config;
        config.model_path = folder_.write("damaged.onnx", bytes);
        config.input_sizes = {{"in", 48}};
        config.output_sizes = {{"out", 16}, {"map", 16}};
        AIEngine engine;
        const Answer answer = answerOf([&] { return engine.Init(config); });
        lastMessage_ = answer.standardError;
        const int status = answer.status;
        if (status == 0) {
            TensorMap inputs{{"in", byteBuffer(48, 100)}};
            TensorMap outputs{{"out", byteBuffer(64)}, {"map", byteBuffer(16)}};
            EXPECT_EQ(answerOf([&] { return engine.DoInference(inputs, outputs); }).status, 0);
        }
        return status;
    }

    std::string lastMessage_;
};

TEST_F(EngineDamagedFiles, TheWholeFileRuns) {
    EXPECT_EQ(tryBytes(detectorLike().bytes()), 0) << lastMessage_;
}

TEST_F(EngineDamagedFiles, NoTruncatedFileIsTaken) {
    const std::string bytes = detectorLike().bytes();
    for (std::size_t length = 0; length < bytes.size(); length += 7) {
        EXPECT_EQ(tryBytes(bytes.substr(0, length)), 2) << length;
    }
}

TEST_F(EngineDamagedFiles, FlippedBytesNeverCrash) {
    const std::string bytes = detectorLike().bytes();
    std::mt19937 generator(20240501);
    for (int round = 0; round < 600; ++round) {
        std::string damaged = bytes;
        const std::size_t flips = 1 + generator() % 3;
        for (std::size_t flip = 0; flip < flips; ++flip) {
            damaged[generator() % damaged.size()] = static_cast<char>(generator() & 0xFFU);
        }
        const int status = tryBytes(damaged);
        EXPECT_TRUE(status == 0 || status == 2 || status == 3 || status == 4)
            << "round " << round << ": " << status;
    }
}

TEST_F(EngineDamagedFiles, NamesWithZeroBytesLeaveTheMessageWhole) {
    const std::string name("i\0n", 3);
    AIEngineConfig config = configFor(addition(1.0F, name));
    config.input_sizes = {{"left", 12}, {"right", 12}};
    expectRefusal(init(config), 3, {"it has 'i n' (1x3x2x2)", "correct the input size"});
}

TEST_F(EngineDamagedFiles, RandomBytesAreNoNetwork) {
    std::mt19937 generator(7);
    for (int round = 0; round < 100; ++round) {
        std::string bytes(1 + generator() % 300, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(generator() & 0xFFU);
        }
        EXPECT_EQ(tryBytes(bytes), 2);
    }
}

}  // namespace
}  // namespace brellix::testing
