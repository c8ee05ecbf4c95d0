#pragma once

/// \file
/// What a network is that no model can run on as it stands, and what to do about it.

#include "network/network_facts.h"
#include "network/network_recognition.h"

#include <string>

namespace brellix::app {

/// \return a sentence; empty where a model decodes the network.
std::string reasonAgainst(const NetworkFacts& network, const Recognition& recognition);

}  // namespace brellix::app
