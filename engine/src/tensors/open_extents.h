#pragma once

/// \file
/// The input shapes of a network whose file leaves extents open, as the configuration's tables settle them.

#include <cstdint>
#include <string>
#include <vector>

#include "brellix/ai_engine.h"
#include "graph/engine_network.h"

namespace ai_orvo::alg::common {

struct SettledInputs {
    std::vector<std::vector<std::int64_t>> shapes;  ///< in the network's order, without open extents
    std::string assumption;  ///< what the tables do not say; empty where they say it all
};

/// An input's shape is the file's where that is static, else the configuration's, else it follows from the
/// configuration's element count: the batch is 1, and an image whose height and width are both open is
/// square.
/// \param config has passed `checkConfiguration`.
/// \throws Refusal (`kBackendRefusal`) where the extents do not follow.
SettledInputs settleInputs(const AIEngineConfig& config, const EngineNetwork& network);

}  // namespace ai_orvo::alg::common
