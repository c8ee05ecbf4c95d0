// The environment variables. Each test is its own process under ctest; the guard keeps them apart otherwise.

#include <cstdlib>
#include <opencv2/core.hpp>

#include "engine_fixture.h"

namespace brellix::testing {
namespace {

class Variable {
  public:
    Variable(const char* name, const char* value) : name_(name) { ::setenv(name, value, 1); }
    ~Variable() { ::unsetenv(name_); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    const char* name_;
};

using EngineEnvironment = EngineTest;

TEST_F(EngineEnvironment, TakesTheBackEndByName) {
    for (const char* backend : {"auto", "opencv_dnn", ""}) {
        const Variable variable("BRELLIX_ENGINE_BACKEND", backend);
        expectSilentSuccess(init(configFor(addition(1.0F))));
    }
}

TEST_F(EngineEnvironment, RefusesAnUnknownBackEnd) {
    const Variable variable("BRELLIX_ENGINE_BACKEND", "OpenCV");
    expectRefusal(init(configFor(addition(1.0F))), 5,
                  {"BRELLIX_ENGINE_BACKEND", "'OpenCV'", "auto, onnxruntime or opencv_dnn", "unset"});
}

TEST_F(EngineEnvironment, RefusesBadThreadCounts) {
    for (const char* threads : {"0", "-1", "two", "4x", " 4", "99999999999999999999", "1025"}) {
        const Variable variable("BRELLIX_ENGINE_THREADS", threads);
        expectRefusal(init(configFor(addition(1.0F))), 5,
                      {"BRELLIX_ENGINE_THREADS", "'" + std::string(threads) + "'", "1 to 1024"});
    }
}

TEST_F(EngineEnvironment, SaysOnceThatOpencvKeepsItsThreads) {
    const Variable backend("BRELLIX_ENGINE_BACKEND", "opencv_dnn");
    const Variable variable("BRELLIX_ENGINE_THREADS", "3");
    const int threads = cv::getNumThreads();
    const Answer first = init(configFor(addition(1.0F)));
    expectRefusal(first, 0, {"BRELLIX_ENGINE_THREADS=3 has no effect", "cv::setNumThreads"});
    expectSilentSuccess(init(configFor(addition(1.0F))));
    EXPECT_EQ(cv::getNumThreads(), threads);
}

}  // namespace
}  // namespace brellix::testing
