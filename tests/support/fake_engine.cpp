#include "support/fake_engine.h"

namespace brellix::testing {

using ai_orvo::alg::common::TensorMap;

FakeEngine& FakeEngine::instance() {
    static FakeEngine engine;
    return engine;
}

FakeEngine& FakeEngine::reset() {
    instance() = FakeEngine();
    return instance();
}

TensorMap deepCopy(const TensorMap& tensors) {
    TensorMap copy = tensors;
    for (auto& [name, tensor] : copy) {
        if (tensor.data) {
            tensor.data = std::make_shared<std::vector<std::int8_t>>(*tensor.data);
        }
    }
    return copy;
}

}  // namespace brellix::testing

namespace ai_orvo::alg::common {

using brellix::testing::FakeEngine;

int AIEngine::Init(const AIEngineConfig& config) {
    FakeEngine::instance().initialised.push_back(config);
    return FakeEngine::instance().initStatus;
}

int AIEngine::DoInference(TensorMap& inputs, TensorMap& outputs) {
    FakeEngine& engine = FakeEngine::instance();
    engine.inputs.push_back(brellix::testing::deepCopy(inputs));
    engine.preparedOutputs.push_back(brellix::testing::deepCopy(outputs));
    return engine.inference ? engine.inference(inputs, outputs) : 0;
}

}  // namespace ai_orvo::alg::common
