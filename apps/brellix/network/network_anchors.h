#pragma once

/// \file
/// The anchors that a YOLOv5 network was trained with, as far as its file tells.

#include "network/network_facts.h"

#include <array>
#include <optional>
#include <string>

namespace brellix::app {

/// Width and height in pixels of the network's input: by head (strides 8, 16, 32), by anchor.
using Anchors = std::array<std::array<std::array<double, 2>, 3>, 3>;

/// \return the anchors that the cut detector decodes with, whatever the network.
const Anchors& fixedAnchors();

struct NetworkAnchors {
    std::optional<Anchors> anchors;
    std::string fault;  ///< what is wrong with the metadata that should tell them
};

/// Looks into the metadata key "anchors", else for the constants of a detection layer that is still in the
/// graph.
NetworkAnchors anchorsOf(const NetworkFacts& network);

/// \return "10,13 16,30 33,23 / ...".
std::string textOf(const Anchors& anchors);

}  // namespace brellix::app
