#pragma once

/// \file
/// Which of the engine's back-ends will run a network.

namespace brellix::app {

enum class BackEnd {
    kUnknown,      ///< the engine is not ours
    kOpencvDnn,    ///< float32, static shapes, older operator sets
    kOnnxRuntime,  ///< also float16, open shapes and newer operator sets
};

/// \return the one that this build and the environment variable BRELLIX_ENGINE_BACKEND lead to.
BackEnd chosenBackEnd();

}  // namespace brellix::app
