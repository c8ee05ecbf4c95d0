#pragma once

/// \file
/// What the subcommands that run a model over pictures have in common: their options, and what they stand
/// for.

#include "console.h"
#include "model_config_check.h"
#include "own_output.h"

#include <CLI/App.hpp>

#include <string>
#include <vector>

namespace brellix::app {

struct RunOptions {
    std::string config;
    std::vector<std::string> inputs;
    bool recursive = false;
    std::string modelClass;  ///< empty where the option is not given
    bool quiet = false;
    bool verbose = false;
};

void addRunOptions(CLI::App& command, RunOptions& options);

/// Makes the console, and the library's own lines, as loud as the options say.
void applyVerbosity(const RunOptions& options, OwnOutput& output, Console& console);

/// \return the checked configuration; what is allowed but hardly meant goes to the console.
ModelConfig loadConfig(const RunOptions& options, Console& console);

/// \return the pictures that the inputs stand for.
std::vector<std::string> loadInputs(const RunOptions& options, Console& console);

/// Creating a file for the results must not be what destroys the inputs.
/// Throws `Failure` where `target`, which the option `option` names, is one of them.
void refuseToOverwriteInputs(const std::string& option, const std::string& target, const ModelConfig& config,
                             const std::vector<std::string>& sources);

}  // namespace brellix::app
