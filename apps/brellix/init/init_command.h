#pragma once

/// \file
/// brellix init NETWORK

#include "command_line.h"

namespace brellix::app {

Subcommand addInitCommand(CLI::App& app);

}  // namespace brellix::app
