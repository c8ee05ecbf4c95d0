// A process that loads a network and then forks, as services do that go to the background.

#include <sys/wait.h>
#include <unistd.h>

#include <vector>

#include "engine_fixture.h"
#include "support/sanitizers.h"

namespace brellix::testing {
namespace {

/// So large that each back-end shares the work out to its threads, which the child lacks.
const Shape kShape = {1, 64, 128, 128};
constexpr std::size_t kElements = 64 * 128 * 128;

/// Each output element is the sum of the 64 channels at its place.
NetworkBuilder channelSums() {
    NetworkBuilder network;
    network.input("in", kShape).output("out", kShape);
    network.floats("weights", {64, 64, 1, 1}, std::vector<float>(64 * 64, 1.0F));
    network.node("Conv", {"in", "weights"}, {"out"}).integers("kernel_shape", {1, 1});
    return network;
}

class EngineInAForkedProcess : public EngineTest {
  protected:
    void expectChildRunsNetworks() {
#if BRELLIX_THREAD_SANITIZER
        GTEST_SKIP() << "the thread sanitizer ends a forked process that starts threads";
#endif
        const AIEngineConfig config = configFor(channelSums());
        ASSERT_EQ(engine_.Init(config), 0);
        ASSERT_TRUE(infers());
        const pid_t child = fork();
        if (child == 0) {
            alarm(300);
            const bool runsParents = infers();
            const bool runsNew = engine_.Init(config) == 0 && infers();
            _exit(runsParents && runsNew ? 0 : 1);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }

  private:
    /// Runs the network. \return whether all went well.
    bool infers() {
        TensorMap inputs{{"in", floatTensor(std::vector<float>(kElements, 0.5F))}};
        TensorMap outputs{{"out", byteBuffer(kElements * sizeof(float))}};
        const int status = engine_.DoInference(inputs, outputs);
        return status == 0 && floatsOf(outputs["out"]) == std::vector<float>(kElements, 32.0F);
    }
};

#ifdef BRELLIX_WITH_ONNXRUNTIME
TEST_F(EngineInAForkedProcess, RunsNetworksOnOnnxRuntime) {
    const EnvironmentVariable backend("BRELLIX_ENGINE_BACKEND", "onnxruntime");
    const EnvironmentVariable threads("BRELLIX_ENGINE_THREADS", "4");
    expectChildRunsNetworks();
}
#endif

TEST_F(EngineInAForkedProcess, RunsNetworksOnOpencv) {
    const EnvironmentVariable backend("BRELLIX_ENGINE_BACKEND", "opencv_dnn");
    expectChildRunsNetworks();
}

}  // namespace
}  // namespace brellix::testing
