#pragma once

/// \file
/// What endures: each program has its own list, one over an engine that answers by itself and one over the
/// real engine and the sample networks.

#include "endurance/endurance.h"

#include <vector>

namespace brellix::testing {

std::vector<EnduranceCase> enduranceCases();

}  // namespace brellix::testing
