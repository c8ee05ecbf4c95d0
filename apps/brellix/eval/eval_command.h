#pragma once

/// \file
/// `brellix eval`.

#include "command_line.h"

namespace brellix::app {

/// Adds the subcommand and its options to the command line.
Subcommand addEvalCommand(CLI::App& app);

}  // namespace brellix::app
