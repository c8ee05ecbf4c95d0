#pragma once

/// \file
/// `brellix bench`: how long each stage takes.

#include "command_line.h"

namespace brellix::app {

Subcommand addBenchCommand(CLI::App& app);

}  // namespace brellix::app
