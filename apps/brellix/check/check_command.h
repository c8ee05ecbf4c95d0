#pragma once

/// \file
/// brellix check CONFIG

#include "check/network_check.h"
#include "command_line.h"

namespace brellix::app {

Subcommand addCheckCommand(CLI::App& app);

/// Everything that `check` compares: the configuration, the network, the class names, and what the engine
/// says when it loads the network. Throws `Failure` as `checkModelConfig` does.
/// \param namesFile class names, one a line; empty for "class_mapping" of the configuration.
CheckReport checkCompletely(const ModelRequest& request, const std::string& namesFile);

}  // namespace brellix::app
