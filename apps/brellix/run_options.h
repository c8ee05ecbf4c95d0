#pragma once

/// \file
/// Options that several subcommands have, and what they stand for.

#include "config/class_list.h"
#include "config/model_config_check.h"
#include "console/console.h"
#include "files/inputs.h"
#include "files/own_output.h"
#include "files/protected_files.h"
#include "files/sink.h"

#include <CLI/App.hpp>

#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

struct InputOptions {
    std::vector<std::string> inputs;
    bool recursive = false;
};

struct VerbosityOptions {
    bool quiet = false;
    bool verbose = false;
};

/// What a subcommand that runs one model over pictures takes.
struct RunOptions {
    ModelRequest model;
    InputOptions input;
    VerbosityOptions verbosity;
};

/// --model.
void addModelClassOption(CLI::App& command, std::string& modelClass);

/// CONFIG and --model.
void addModelOptions(CLI::App& command, ModelRequest& request);

/// --conf and --nms.
void addThresholdOptions(CLI::App& command, ModelRequest& request);

/// INPUT and --recursive.
/// \return INPUT, which is required.
CLI::Option* addInputOptions(CLI::App& command, InputOptions& options);

/// --quiet and --verbose.
void addVerbosityOptions(CLI::App& command, VerbosityOptions& options);

/// Makes the console, and the library's own lines, as loud as the options say.
void applyVerbosity(const VerbosityOptions& options, OwnOutput& output, Console& console);

/// Compares the configuration with its network, as `brellix check` does, but for asking the engine, which
/// the model's constructor does at once. Throws `Failure` where they do not fit.
/// \return the checked configuration; what is allowed but hardly meant goes to the console.
ModelConfig loadConfig(const ModelRequest& request, Console& console);

/// \return the pictures, or what else is accepted, that the inputs stand for.
std::vector<std::string> loadInputs(const InputOptions& options, Console& console,
                                    Accepted accepted = Accepted::kPictures);

/// \return the names of `namesFile`, or, where that is empty, of the configuration. The console is warned of
///         names that do not fit the network. Throws `Failure` for a file that cannot be read.
ClassList loadClasses(const std::string& namesFile, const ModelConfig& config, Console& console);

/// Adds the configuration, its network and the calibration beside it, whether or not there is one.
void addModelFiles(const ModelConfig& config, ProtectedFiles& files);

/// \return the model's files, `namesFile` where there is one, and `sources`.
ProtectedFiles inputsOf(const ModelConfig& config, const std::string& namesFile,
                        const std::vector<std::string>& sources);

/// \return the file at `path` that --json writes, from then on among `files`; nothing where `path` is empty or
///         "-", which is standard output. Throws `Failure`.
std::optional<Sink> createJsonFile(const std::string& path, ProtectedFiles& files);

}  // namespace brellix::app
