#pragma once

/// \file
/// Which of the engine's back-ends will run a network, and which did.

#include <string>

namespace brellix::app {

enum class BackEnd {
    kUnknown,      ///< the engine is not ours
    kOpencvDnn,    ///< float32, static shapes, older operator sets
    kOnnxRuntime,  ///< also float16, open shapes and newer operator sets
};

/// \return the one that this build, the engine that the loader found and the environment variable
///         BRELLIX_ENGINE_BACKEND lead to.
BackEnd chosenBackEnd();

/// \return the name of the back-end that the engine started last; empty before that, "unknown" with a board's
///         own engine.
std::string lastBackEndName();

}  // namespace brellix::app
