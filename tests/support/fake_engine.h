#pragma once

/// \file
/// An engine that records what the models hand it and answers as a test wants.
///
/// It defines `AIEngine::Init` and `AIEngine::DoInference` in the test program, so that the model zoo's
/// shared library, as shipped, calls these in place of the engine library's.

#include "brellix/ai_engine.h"

#include <functional>
#include <vector>

namespace brellix::testing {

/// All the fake engines of the process as one. Not thread-safe.
struct FakeEngine {
    using Inference = std::function<int(ai_orvo::alg::common::TensorMap&, ai_orvo::alg::common::TensorMap&)>;

    std::vector<ai_orvo::alg::common::AIEngineConfig> initialised;  ///< one configuration a call of Init
    std::vector<ai_orvo::alg::common::TensorMap> inputs;           ///< deep copies, one a call of DoInference
    std::vector<ai_orvo::alg::common::TensorMap> preparedOutputs;  ///< outputs as they came, deep copies
    int initStatus = 0;
    Inference inference;  ///< fills the outputs; empty leaves them alone and returns 0

    /// Forgets everything and returns the instance.
    static FakeEngine& reset();
    static FakeEngine& instance();
};

/// A copy that shares nothing with `tensors`.
ai_orvo::alg::common::TensorMap deepCopy(const ai_orvo::alg::common::TensorMap& tensors);

}  // namespace brellix::testing
