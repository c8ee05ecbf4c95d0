#pragma once

/// \file
/// What the engine's back-end is known not to run.

#include "config/model_config_check.h"
#include "network/back_end_choice.h"

#include <string>

namespace brellix::app {

/// Appends float16 and open shapes, neither of which OpenCV's importer takes.
/// \param fix how to get a network that runs.
void judgeTypesAndShapes(const NetworkFacts& network, const std::string& fix, Findings& findings);

/// Appends float16, open shapes, the operator set, and the graph's first fault, as far as they are in the
/// back-end's way. Nothing is known of an engine that is not ours.
/// \param fix how to get a network that runs.
void judgeBackEndLimits(BackEnd backEnd, const NetworkFacts& network, const std::string& fix,
                        Findings& findings);

}  // namespace brellix::app
