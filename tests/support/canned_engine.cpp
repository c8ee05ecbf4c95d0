#include "support/canned_engine.h"

#include "support/canned_scenes.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

namespace brellix::testing {
namespace {

// A pointer: models may ask for a last frame when a thread's objects are gone already.
thread_local const EngineFault* currentFault = nullptr;

}  // namespace

ScopedEngineFault::ScopedEngineFault(EngineFault fault) : fault_(std::move(fault)) {
    currentFault = &fault_;
}

ScopedEngineFault::~ScopedEngineFault() {
    currentFault = nullptr;
}

}  // namespace brellix::testing

namespace ai_orvo::alg::common {

/// The engine's own part of a model: what this one is answered with.
class EngineBackend {
  public:
    explicit EngineBackend(TensorMap answer) : answer_(std::move(answer)) {}

    /// Overwrites the outputs that the scene has, as far as both reach.
    void fill(TensorMap& outputs) const {
        for (const auto& [name, from] : answer_) {
            const auto to = outputs.find(name);
            if (to != outputs.end()) {
                copy(from, to->second);
            }
        }
    }

  private:
    static void copy(const AIBuff& from, AIBuff& to) {
        const std::size_t bytes = std::min(from.data->size(), to.data->size());
        std::copy_n(from.data->begin(), bytes, to.data->begin());
        to.type = from.type;
        to.zp = from.zp;
        to.scale = from.scale;
    }

    TensorMap answer_;
};

int AIEngine::Init(const AIEngineConfig& config) {
    TensorMap answer = brellix::testing::cannedOutputs(config.model_path);
    if (answer.empty()) {
        return 1;
    }
    backend_ = std::make_shared<EngineBackend>(std::move(answer));
    return 0;
}

int AIEngine::DoInference(TensorMap& inputs, TensorMap& outputs) {
    if (!backend_) {
        return 6;
    }
    backend_->fill(outputs);
    const brellix::testing::EngineFault* const fault = brellix::testing::currentFault;
    return fault != nullptr && *fault ? (*fault)(inputs, outputs) : 0;
}

}  // namespace ai_orvo::alg::common
