#pragma once

/// \file
/// `brellix calibrate`.

#include "command_line.h"

namespace brellix::app {

/// Adds the subcommand and its options to the command line.
Subcommand addCalibrateCommand(CLI::App& app);

}  // namespace brellix::app
