// The program over another maker's engine, which took the place of ours after the build.

#include "check_fixture.h"

#include <cstdlib>

namespace brellix::testing {
namespace {

using nlohmann::json;

class ReplacedEngine : public CheckTest {
  protected:
    ReplacedEngine() {
        ::setenv("LD_LIBRARY_PATH", BRELLIX_FAULTY_ENGINE_FOLDER, 1);
        change("network.onnx", "network.onnx", openShapes);
        writePicture("a.png");
    }
    ~ReplacedEngine() override {
        ::unsetenv("LD_LIBRARY_PATH");
        ::unsetenv("BRELLIX_TEST_REFUSAL");
    }
};

TEST_F(ReplacedEngine, IsNotHeldToTheLimitsOfOurBackEnds) {
    const json answer = report("model.yaml");
    EXPECT_EQ(answer["fits"], true) << answer.dump(1);
    EXPECT_EQ(finding(answer, "shape"), json()) << answer.dump(1);
    EXPECT_EQ(finding(answer, "opset"), json()) << answer.dump(1);
}

TEST_F(ReplacedEngine, IsAskedOfNetworksThatAreCompiledForIt) {
    writeText("network.rknn", "what a board loads");
    writeText("model.yaml", replaced(readText("model.yaml"), "network.onnx", "network.rknn"));
    expectFinding(report("model.yaml", {"--model", "yolov5"}), "engine", "ok");
    ::setenv("BRELLIX_TEST_REFUSAL", "yes", 1);
    const json answer = report("model.yaml", {"--model", "yolov5"});
    EXPECT_EQ(errors(answer), (std::vector<std::string>{"engine"}));
    expectFinding(answer, "engine", "error",
                  {"refuses the network: code 2", "name the network that was compiled for this engine"});
}

TEST_F(ReplacedEngine, DetectsOnNetworksThatOursWouldRefuse) {
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--json", "-"});
    EXPECT_EQ(result.status, 0) << result.err;
    ASSERT_EQ(jsonLines(result.out).size(), 1U);
    EXPECT_EQ(jsonLines(result.out)[0].at("objects").size(), 1U);
}

TEST_F(ReplacedEngine, NeedNotReadWhatCalibrateWrites) {
    const ProgramResult result = run({"calibrate", "cut.yaml", "a.png"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err,
              "brellix: warning: another engine stands in place of ours, which alone is known to read "
              "calibrations\n");
}

TEST_F(ReplacedEngine, HasNoBackEndThatBenchCouldName) {
    const ProgramResult result =
        run({"bench", "model.yaml", "a.png", "--frames", "1", "--warm-up", "0", "--json", "-"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(json::parse(result.out).at("back_end"), "unknown") << result.out;
}

}  // namespace
}  // namespace brellix::testing
