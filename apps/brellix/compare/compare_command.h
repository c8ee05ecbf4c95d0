#pragma once

/// \file
/// `brellix compare`.

#include "command_line.h"

namespace brellix::app {

/// Adds the subcommand and its options to the command line.
Subcommand addCompareCommand(CLI::App& app);

}  // namespace brellix::app
