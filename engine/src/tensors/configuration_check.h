#pragma once

/// \file
/// The tables of the engine's configuration against what the network file says.

#include "brellix/ai_engine.h"
#include "graph/engine_network.h"

namespace ai_orvo::alg::common {

/// \throws Refusal (`kConfigurationMismatch`) that names every tensor that differs, and how.
void checkConfiguration(const AIEngineConfig& config, const EngineNetwork& network);

}  // namespace ai_orvo::alg::common
