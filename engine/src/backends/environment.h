#pragma once

/// \file
/// The two environment variables of the engine.

#include <optional>
#include <string>

namespace ai_orvo::alg::common {

struct Environment {
    std::string backend = "auto";  ///< BRELLIX_ENGINE_BACKEND: auto, onnxruntime or opencv_dnn
    std::optional<int> threads;    ///< BRELLIX_ENGINE_THREADS: for back-ends with threads of their own
};

/// An unset or empty variable counts as absent.
/// \throws Refusal (`kBadEnvironment`) for a value that means nothing.
Environment readEnvironment();

}  // namespace ai_orvo::alg::common
