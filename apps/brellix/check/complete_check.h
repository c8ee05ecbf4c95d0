#pragma once

/// \file
/// All that `brellix check` compares, for it and for `brellix init`.

#include "check/network_check.h"

#include <string>

namespace brellix::app {

/// The configuration, the network, the class names, and what the engine says when it loads the network.
/// Throws `Failure` as `checkModelConfig` does.
/// \param namesFile class names, one a line; empty for "class_mapping" of the configuration.
CheckReport checkCompletely(const ModelRequest& request, const std::string& namesFile);

}  // namespace brellix::app
