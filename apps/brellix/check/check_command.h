#pragma once

/// \file
/// brellix check CONFIG

#include "command_line.h"

namespace brellix::app {

Subcommand addCheckCommand(CLI::App& app);

}  // namespace brellix::app
