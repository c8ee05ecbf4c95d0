#pragma once

/// \file
/// What the engine's back-end is known not to run.

#include "model_config_check.h"

#include <string>

namespace brellix::app {

/// Appends float16, open shapes, the operator set, and the graph's first fault.
/// \param fix how to get a network that runs.
void judgeBackEndLimits(const NetworkFacts& network, const std::string& fix, Findings& findings);

}  // namespace brellix::app
