// What the engine does when its back-end fails. This program holds the engine's boundary with a back-end that
// fails on demand in place of the real ones.

#include "backends/engine_backend.h"

#include <cstdlib>
#include <new>
#include <stdexcept>

#include "engine_fixture.h"
#include "refusal.h"

namespace brellix::testing {
namespace {

enum class Failure { kNone, kRefusal, kMemory, kException, kAnything };

Failure nextFailure = Failure::kNone;

}  // namespace
}  // namespace brellix::testing

namespace ai_orvo::alg::common {
namespace {

class FailingBackend : public EngineBackend {
  public:
    const char* name() const override { return "failing"; }

    void run(const std::vector<const float*>&, const std::vector<OutputRequest>& outputs) override {
        using brellix::testing::Failure;
        switch (brellix::testing::nextFailure) {
            case Failure::kNone:
                outputs.front().values[0] = 1.0F;
                return;
            case Failure::kRefusal:
                throw Refusal(Status::kInferenceFailed, "the device is gone");
            case Failure::kMemory:
                throw std::bad_alloc();
            case Failure::kException:
                throw std::runtime_error("a text of\ntwo lines");
            case Failure::kAnything:
                throw 42;
        }
    }
};

}  // namespace

void prepareBackends() {}

std::shared_ptr<EngineBackend> makeBackend(const Environment&, const BackendRequest&) {
    return std::make_shared<FailingBackend>();
}

}  // namespace ai_orvo::alg::common

namespace brellix::testing {
namespace {

class EngineBackendFailure : public EngineTest {
  protected:
    void expectFailure(Failure failure, int status, const std::string& text) {
        expectSilentSuccess(init(configFor(arithmetic())));
        TensorMap inputs{{"left", byteBuffer(12)}, {"right", byteBuffer(48)}};
        TensorMap outputs{{"sum", byteBuffer(48, 7)}, {"product", byteBuffer(12, 8)}};
        outputs["product"].zp = 5;
        nextFailure = failure;
        expectRefusal(infer(inputs, outputs), status, {text});
        EXPECT_EQ(bytesOf(outputs["sum"]), std::vector<int>(48, 7));
        EXPECT_EQ(bytesOf(outputs["product"]), std::vector<int>(12, 8));
        EXPECT_EQ(outputs["product"].type, 2);
        EXPECT_EQ(outputs["product"].zp, 5);
        EXPECT_EQ(outputs["product"].scale, 0.0F);
        nextFailure = Failure::kNone;
        expectSilentSuccess(infer(inputs, outputs));
    }
};

TEST_F(EngineBackendFailure, OfInferenceLeavesTheOutputs) {
    expectFailure(Failure::kRefusal, 9, "the device is gone");
}

TEST_F(EngineBackendFailure, OfMemoryLeavesTheOutputs) {
    expectFailure(Failure::kMemory, 10, "out of memory");
}

TEST_F(EngineBackendFailure, OfAnUnexpectedKindIsReportedOnOneLine) {
    expectFailure(Failure::kException, 10, "a text of two lines");
    expectFailure(Failure::kAnything, 10, "unexpected error of unknown kind");
}

}  // namespace
}  // namespace brellix::testing
