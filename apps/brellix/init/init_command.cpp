#include "init/init_command.h"

#include "check/complete_check.h"
#include "config/config_template.h"
#include "console/shell_quote.h"
#include "console/text.h"
#include "console/utf8.h"
#include "files/readable_file.h"
#include "files/result_file.h"
#include "init/init_names.h"
#include "init/network_advice.h"
#include "run_options.h"

#include <CLI/Validators.hpp>

#include <filesystem>
#include <memory>
#include <string>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

struct InitOptions {
    std::string network;
    std::string outFile;  ///< "-" for standard output; empty for the file beside the network
    std::string namesFile;
    std::string framework = "ONNX";
    bool quantized = false;
    bool force = false;
    VerbosityOptions verbosity;

    bool goesToStandardOutput() const { return outFile == "-"; }
};

constexpr const char* kExamples =
    "Examples:\n"
    "  brellix init shapes_cut.onnx                   writes shapes_cut.yaml beside the network\n"
    "  brellix init network.onnx --names coco.names -o mine.yaml\n"
    "  brellix init shapes_seg.onnx --framework RKNN --quantized --force\n"
    "  brellix init network.onnx -o -                 the configuration on standard output\n"
    "\n"
    "Class names come from --names, else from the network's metadata, else they are numbers.\n"
    "Exit status: 0 written, 1 the network fits no model (nothing is written) or the written\n"
    "configuration does not pass brellix check, 2 wrong use or bad input, 3 a failure at work.";

void addInitOptions(CLI::App& command, InitOptions& options) {
    command.add_option("NETWORK", options.network, "Network file (ONNX)")->required()->type_name("");
    command
        .add_option("-o,--out", options.outFile,
                    "Write this file (default: NETWORK with .yaml); - is standard output")
        ->type_name("FILE");
    command.add_flag("-f,--force", options.force, "Replace a file that exists");
    command.add_option("--names", options.namesFile, "Class names, one a line")->type_name("FILE");
    command.add_option("--framework", options.framework, "Back-end of a segmentation model (default: ONNX)")
        ->check(CLI::IsMember({"TensorRT", "RKNN", "ONNX"}));
    command.add_flag("--quantized", options.quantized, "A segmentation model with 8-bit outputs");
}

NetworkFacts readNetwork(const std::string& path) {
    requireReadableFile(path, "network");
    NetworkFacts network = readNetworkFacts(path);
    if (network.format != NetworkFormat::kOnnx) {
        throw wrongUse(path + ": only ONNX networks can be recognised: " + network.reason +
                       "; write a configuration for another one by hand, with the key \"model\"");
    }
    return network;
}

std::string outPath(const InitOptions& options) {
    if (!options.outFile.empty()) {
        return options.outFile;
    }
    return fs::path(options.network).replace_extension(".yaml").string();
}

void requireFree(const std::string& path, const InitOptions& options) {
    ProtectedFiles files;
    files.addInputs({options.network, options.namesFile});
    files.refuse("--out", path);
    std::error_code ignored;
    if (!options.force && fs::exists(fs::symlink_status(path, ignored))) {
        throw wrongUse(path + " exists already; --force replaces it, --out FILE writes another one");
    }
}

fs::path withoutLinks(const fs::path& folder) {
    std::error_code error;
    fs::path real = fs::weakly_canonical(folder, error);
    if (error) {
        throw wrongUse("the folder " + folder.string() + ": " + error.message());
    }
    return real;
}

/// \return the network as seen from the folder of the configuration `out`. The folders' links are resolved,
///         since ".." behind a link leads elsewhere.
std::string pathFrom(const std::string& out, const std::string& network) {
    const fs::path target = fs::absolute(network);
    const fs::path folder = withoutLinks(fs::absolute(out).parent_path());
    return (withoutLinks(target.parent_path()) / target.filename()).lexically_relative(folder).string();
}

void requireUtf8(const std::string& path) {
    if (!isUtf8(path)) {
        throw wrongUse("network " + path +
                       ": the path is not UTF-8, so a configuration cannot hold it; rename it");
    }
}

/// \return what to say of options that the class does not read; empty where none was given.
std::string effectless(const InitOptions& options, ModelClass modelClass) {
    const bool hasFramework = options.framework != "ONNX";
    if (traitsOf(modelClass).readsBackEndKeys || (!hasFramework && !options.quantized)) {
        return "";
    }
    if (hasFramework && options.quantized) {
        return "--framework and --quantized have no effect: " + nameOf(modelClass) + " reads neither";
    }
    return std::string(hasFramework ? "--framework" : "--quantized") +
           " has no effect: " + nameOf(modelClass) + " does not read it";
}

ModelSettings settingsFor(const InitOptions& options, const Recognition& recognition, Console& console) {
    const ModelClass modelClass = *modelClassOf(recognition.kind);
    const std::string note = effectless(options, modelClass);
    if (!note.empty()) {
        console.note(note);
    }
    return {modelClass, *recognition.inputSize, *recognition.classNum, options.framework, options.quantized};
}

/// Says how the configuration passes the check, and what comes next.
ExitStatus checkWritten(const std::string& path, Console& console) {
    const CheckReport report = checkCompletely({path, "", {}, {}, true}, "");
    for (const Finding& finding : report.findings) {
        if (finding.severity == Severity::kError) {
            console.error(sentenceOf(finding));
        } else if (finding.severity == Severity::kWarning) {
            console.warning(sentenceOf(finding));
        }
    }
    if (!report.fits()) {
        console.error(path + ": written, but it does not pass brellix check; the reasons stand above");
        return ExitStatus::kAnswerIsNo;
    }
    console.note(path + ": passes brellix check; next: brellix detect " + shellQuotedPath(path) + " PICTURE");
    return ExitStatus::kDone;
}

void writeFile(const std::string& path, const std::string& text) {
    Sink file = Sink::createFile(path);
    file.write(text);
    file.close();
}

ExitStatus writeTo(const std::string& path, const ConfigTemplate& content, Console& console) {
    writeWhole(path, [&](const std::string& file) { writeFile(file, configText(content)); });
    const ModelSettings& settings = content.settings;
    console.note(path + ": written for " + nameOf(settings.modelClass) + ", " +
                 counted(static_cast<std::size_t>(settings.classNum), "class", "classes") + ", " +
                 sizeText(settings.inputSize.width, settings.inputSize.height));
    return checkWritten(path, console);
}

ExitStatus init(const InitOptions& options, OwnOutput& output, Console& console) {
    applyVerbosity(options.verbosity, output, console);
    const NetworkFacts network = readNetwork(options.network);
    const Recognition recognition = recognise(network);
    const std::string reason = reasonAgainst(network, recognition);
    if (!reason.empty()) {
        throw Failure(ExitStatus::kAnswerIsNo, reason);
    }
    const std::string path = outPath(options);
    ConfigTemplate content;
    content.settings = settingsFor(options, recognition, console);
    content.modelPath = options.goesToStandardOutput() ? options.network : pathFrom(path, options.network);
    requireUtf8(content.modelPath);
    InitialNames initial = initialNames(options.namesFile, network, content.settings.classNum, console);
    content.names = std::move(initial.names);
    content.namesOrigin = std::move(initial.origin);
    if (options.goesToStandardOutput()) {
        output.sink().write(configText(content));
        output.sink().close();
        return ExitStatus::kDone;
    }
    requireFree(path, options);
    return writeTo(path, content, console);
}

}  // namespace

Subcommand addInitCommand(CLI::App& app) {
    const auto options = std::make_shared<InitOptions>();
    CLI::App* const command = app.add_subcommand("init", "Write a configuration for a network");
    command->footer(kExamples);
    addInitOptions(*command, *options);
    addVerbosityOptions(*command, options->verbosity);
    return {command,
            [options](OwnOutput& output, Console& console) { return init(*options, output, console); }};
}

}  // namespace brellix::app
