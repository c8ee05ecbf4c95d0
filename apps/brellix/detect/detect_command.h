#pragma once

/// \file
/// `brellix detect`.

#include "command_line.h"

namespace brellix::app {

/// Adds the subcommand and its options to the command line.
Subcommand addDetectCommand(CLI::App& app);

}  // namespace brellix::app
