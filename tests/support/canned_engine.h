#pragma once

/// \file
/// An engine that answers every inference with the outputs of a scene, chosen by the network's path.
///
/// Like the fake engine it is defined in the test program. It keeps nothing and asks for no memory while it
/// answers, so that whole runs can be compared, counted and made to fail; separate models may be used on
/// separate threads.

#include "brellix/ai_engine.h"

#include <functional>

namespace brellix::testing {

/// What happens after the outputs were filled; its result is the engine's. It may change what it is given,
/// and throw.
using EngineFault =
    std::function<int(ai_orvo::alg::common::TensorMap& inputs, ai_orvo::alg::common::TensorMap& outputs)>;

/// Breaks every inference of the calling thread while it lives. One at a time.
class ScopedEngineFault {
  public:
    explicit ScopedEngineFault(EngineFault fault);
    ScopedEngineFault(const ScopedEngineFault&) = delete;
    ScopedEngineFault& operator=(const ScopedEngineFault&) = delete;
    ~ScopedEngineFault();

  private:
    EngineFault fault_;
};

}  // namespace brellix::testing
