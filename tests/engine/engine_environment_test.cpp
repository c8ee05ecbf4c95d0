// The environment variables of the engine.

#include <map>
#include <opencv2/core.hpp>
#include <string>

#include "backends/last_backend.h"
#include "engine_fixture.h"

namespace brellix::testing {
namespace {

using EngineEnvironment = EngineTest;

#ifdef BRELLIX_WITH_ONNXRUNTIME
const std::string kFirstBackend = "onnxruntime";
#else
const std::string kFirstBackend = "opencv_dnn";
#endif

TEST_F(EngineEnvironment, TakesTheBackEndByName) {
    const std::map<std::string, std::string> chosenBy = {{"opencv_dnn", "opencv_dnn"},
                                                         {kFirstBackend, kFirstBackend},
                                                         {"auto", kFirstBackend},
                                                         {"", kFirstBackend}};
    for (const auto& [value, backend] : chosenBy) {
        const EnvironmentVariable variable("BRELLIX_ENGINE_BACKEND", value);
        expectSilentSuccess(init(configFor(addition(1.0F))));
        EXPECT_EQ(brellix_ai_engine_last_backend(), backend) << value;
    }
}

TEST_F(EngineEnvironment, RefusesAnUnknownBackEnd) {
    const EnvironmentVariable variable("BRELLIX_ENGINE_BACKEND", "OpenCV");
    expectRefusal(init(configFor(addition(1.0F))), 5,
                  {"BRELLIX_ENGINE_BACKEND", "'OpenCV'", "auto, onnxruntime or opencv_dnn", "unset"});
}

#ifndef BRELLIX_WITH_ONNXRUNTIME
TEST_F(EngineEnvironment, RefusesABackEndThatTheBuildLacks) {
    const EnvironmentVariable variable("BRELLIX_ENGINE_BACKEND", "onnxruntime");
    expectRefusal(init(configFor(addition(1.0F))), 5,
                  {"BRELLIX_ENGINE_BACKEND", "onnxruntime", "does not contain", "opencv_dnn"});
}
#endif

TEST_F(EngineEnvironment, RefusesBadThreadCounts) {
    for (const char* threads : {"0", "-1", "two", "4x", " 4", "99999999999999999999", "1025"}) {
        const EnvironmentVariable variable("BRELLIX_ENGINE_THREADS", threads);
        expectRefusal(init(configFor(addition(1.0F))), 5,
                      {"BRELLIX_ENGINE_THREADS", "'" + std::string(threads) + "'", "1 to 1024"});
    }
}

TEST_F(EngineEnvironment, SaysOnceThatOpencvKeepsItsThreads) {
    const EnvironmentVariable backend("BRELLIX_ENGINE_BACKEND", "opencv_dnn");
    const EnvironmentVariable variable("BRELLIX_ENGINE_THREADS", "3");
    const int threads = cv::getNumThreads();
    NetworkBuilder unknown;
    unknown.input("in", {1, 2}).output("out", {1, 2}).node("Magic", {"in"}, {"out"});
    expectRefusal(init(configFor(unknown)), 4, {"Magic"});
    const Answer first = init(configFor(addition(1.0F)));
    expectRefusal(first, 0, {"BRELLIX_ENGINE_THREADS=3 has no effect", "cv::setNumThreads"});
    expectSilentSuccess(init(configFor(addition(1.0F))));
    EXPECT_EQ(cv::getNumThreads(), threads);
}

}  // namespace
}  // namespace brellix::testing
