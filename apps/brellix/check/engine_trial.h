#pragma once

/// \file
/// Asking the engine itself.

#include "network/expected_tensors.h"

#include <string>

namespace brellix::app {

/// Loads the network as the model's constructor would. What the engine says meanwhile on standard error is
/// caught.
/// \return why the engine refuses; empty where it does not.
std::string reasonOfEngine(const ModelSettings& settings, const std::string& networkPath);

}  // namespace brellix::app
