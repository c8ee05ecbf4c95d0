#include "run_options.h"

#include "failure.h"
#include "inputs.h"
#include "text.h"

#include <CLI/Validators.hpp>

#include <filesystem>
#include <utility>

namespace brellix::app {
namespace {

Verbosity verbosityOf(const RunOptions& options) {
    return options.quiet ? Verbosity::kQuiet : options.verbose ? Verbosity::kVerbose : Verbosity::kNormal;
}

}  // namespace

void addRunOptions(CLI::App& command, RunOptions& options) {
    command.add_option("CONFIG", options.config, "Model configuration (YAML)")->required()->type_name("");
    command
        .add_option("INPUT", options.inputs, "Picture files, folders, or quoted patterns like 'cam?/*.png'")
        ->required()
        ->type_name("");
    command.add_flag("-r,--recursive", options.recursive, "Look into the subfolders of folders, too");
    command.add_option("--model", options.modelClass, "Model class, where CONFIG has no key \"model\"")
        ->check(CLI::IsMember(modelClassNames()));
    CLI::Option* const quiet =
        command.add_flag("-q,--quiet", options.quiet, "No table, no notes, only errors");
    command.add_flag("-v,--verbose", options.verbose, "Show what the library says, on standard error")
        ->excludes(quiet);
}

void applyVerbosity(const RunOptions& options, OwnOutput& output, Console& console) {
    console.setVerbosity(verbosityOf(options));
    if (options.verbose) {
        output.showLibraryLines();
    }
}

ModelConfig loadConfig(const RunOptions& options, Console& console) {
    ModelConfig config = checkModelConfig(options.config, options.modelClass);
    for (const std::string& warning : config.warnings) {
        console.warning(config.path + ": " + warning);
    }
    if (!config.model.empty() && !options.modelClass.empty() && config.model != options.modelClass) {
        console.warning("--model " + options.modelClass + " is not used: " + config.path +
                        " says model: " + config.model);
    }
    if (config.networkIsBesideFile) {
        console.detail("network: " + config.networkPath + " (found beside the configuration)");
    }
    console.detail("model class: " + nameOf(config.modelClass));
    return config;
}

std::vector<std::string> loadInputs(const RunOptions& options, Console& console) {
    InputList list = expandInputs(options.inputs, options.recursive);
    if (list.repeated > 0) {
        console.note(counted(list.repeated, "picture") + " given more than once, processed once");
    }
    return std::move(list.pictures);
}

void refuseToOverwriteInputs(const std::string& option, const std::string& target, const ModelConfig& config,
                             const std::vector<std::string>& sources) {
    std::vector<std::string> inputs = sources;
    inputs.push_back(config.path);
    inputs.push_back(config.networkPath);
    for (const std::string& input : inputs) {
        std::error_code ignored;
        if (std::filesystem::equivalent(target, input, ignored)) {
            throw wrongUse(option + ": " + target + " is one of the inputs and would be overwritten");
        }
    }
}

}  // namespace brellix::app
