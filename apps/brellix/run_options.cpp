#include "run_options.h"

#include "check/network_check.h"
#include "console/failure.h"
#include "console/text.h"
#include "files/inputs.h"
#include "option_values.h"

#include <quantization/calibration.h>

#include <CLI/Validators.hpp>

#include <utility>

namespace brellix::app {
namespace {

Verbosity verbosityOf(const VerbosityOptions& options) {
    return options.quiet ? Verbosity::kQuiet : options.verbose ? Verbosity::kVerbose : Verbosity::kNormal;
}

/// Throws `Failure` for the last error, after the others were said.
void stopForErrors(const Findings& findings, Console& console) {
    std::string last;
    for (const Finding& finding : findings) {
        if (finding.severity == Severity::kError) {
            if (!last.empty()) {
                console.error(last);
            }
            last = sentenceOf(finding);
        }
    }
    if (!last.empty()) {
        throw wrongUse(last);
    }
}

void sayFindings(const Findings& findings, Console& console) {
    stopForErrors(findings, console);
    for (const Finding& finding : findings) {
        if (finding.severity == Severity::kWarning) {
            console.warning(sentenceOf(finding));
        } else if (finding.severity == Severity::kNote) {
            console.detail(sentenceOf(finding));
        }
    }
}

}  // namespace

void addModelClassOption(CLI::App& command, std::string& modelClass) {
    command.add_option("--model", modelClass, "Model class, where the configuration has no key \"model\"")
        ->check(CLI::IsMember(modelClassNames()));
}

void addModelOptions(CLI::App& command, ModelRequest& request) {
    command.add_option("CONFIG", request.config, "Model configuration (YAML)")->required()->type_name("");
    addModelClassOption(command, request.modelClass);
}

void addThresholdOptions(CLI::App& command, ModelRequest& request) {
    command.add_option("--conf", request.confThreshold, "Confidence threshold, in place of conf_thres")
        ->type_name("NUMBER")
        ->check(finiteNumber());
    command.add_option("--nms", request.nmsThreshold, "Overlap threshold, in place of nms_thres")
        ->type_name("NUMBER")
        ->check(finiteNumber());
}

CLI::Option* addInputOptions(CLI::App& command, InputOptions& options) {
    command.add_flag("-r,--recursive", options.recursive, "Look into the subfolders of folders, too");
    return command
        .add_option("INPUT", options.inputs, "Picture files, folders, or quoted patterns like 'cam?/*.png'")
        ->required()
        ->type_name("");
}

void addVerbosityOptions(CLI::App& command, VerbosityOptions& options) {
    CLI::Option* const quiet =
        command.add_flag("-q,--quiet", options.quiet, "No table, no notes, only errors");
    command.add_flag("-v,--verbose", options.verbose, "Show what the library says, on standard error")
        ->excludes(quiet);
}

void applyVerbosity(const VerbosityOptions& options, OwnOutput& output, Console& console) {
    console.setVerbosity(verbosityOf(options));
    if (options.verbose) {
        output.showLibraryLines();
    }
}

ModelConfig loadConfig(const ModelRequest& request, Console& console) {
    CheckedConfig checked = checkModelConfig(request);
    const ModelConfig& config = checked.config;
    sayFindings(checkNetwork(checked, request.usesCalibration).findings, console);
    if (config.networkIsBesideFile) {
        console.detail("network: " + config.networkPath + " (found beside the configuration)");
    }
    console.detail("model class: " + nameOf(config.modelClass));
    return std::move(checked.config);
}

std::vector<std::string> loadInputs(const InputOptions& options, Console& console, Accepted accepted) {
    InputList list =
        expandInputs(options.inputs, options.recursive, accepted,
                     [&](const std::string& message) { console.warning(message + "; passed over"); });
    if (list.repeated > 0) {
        console.note(counted(list.repeated, "repetition") + " among the inputs left out");
    }
    return std::move(list.pictures);
}

ClassList loadClasses(const std::string& namesFile, const ModelConfig& config, Console& console) {
    ClassList classes(namesFile, config.document);
    const std::string mismatch = classes.mismatchWith(config.classNum);
    if (!mismatch.empty()) {
        console.warning(mismatch);
    }
    return classes;
}

void addModelFiles(const ModelConfig& config, ProtectedFiles& files) {
    files.addInputs(
        {config.path, config.networkPath, ai_orvo::alg::common::calibrationPath(config.networkPath)});
}

ProtectedFiles inputsOf(const ModelConfig& config, const std::string& namesFile,
                        const std::vector<std::string>& sources) {
    ProtectedFiles files;
    addModelFiles(config, files);
    files.addInput(namesFile);
    files.addInputs(sources);
    return files;
}

std::optional<Sink> createJsonFile(const std::string& path, ProtectedFiles& files) {
    if (path.empty() || path == "-") {
        return std::nullopt;
    }
    files.claim("--json", path);
    return Sink::createFile(path);
}

}  // namespace brellix::app
