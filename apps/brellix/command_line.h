#pragma once

/// \file
/// What the subcommands share with `main`.

#include "console/console.h"
#include "console/failure.h"
#include "files/own_output.h"

#include <CLI/App.hpp>

#include <functional>

namespace brellix::app {

/// One subcommand: where its options were parsed into, and what runs it.
struct Subcommand {
    CLI::App* options;
    std::function<ExitStatus(OwnOutput&, Console&)> run;
};

/// Parses the arguments and runs the subcommand that they name. Throws `Failure` for what went wrong in it.
ExitStatus runCommandLine(int argc, const char* const* argv, OwnOutput& output, Console& console);

}  // namespace brellix::app
