#pragma once

/// \file
/// The class names that a new configuration begins with.

#include "console/console.h"
#include "network/class_names_metadata.h"
#include "network/network_facts.h"

#include <string>

namespace brellix::app {

struct InitialNames {
    IndexedNames names;
    std::string origin;  ///< in words, for the configuration's comment
};

/// \return the names of `namesFile`, else of the network's metadata, else numbers: one for each class. Names
///         past the last class are left out, a class without one is called by its number; the console hears
///         of both.
/// Throws `Failure` for a file that cannot be read.
InitialNames initialNames(const std::string& namesFile, const NetworkFacts& network, int classNum,
                          Console& console);

}  // namespace brellix::app
