#include "detect_command.h"

#include "annotated_pictures.h"
#include "class_list.h"
#include "detect_run.h"
#include "inputs.h"
#include "json_lines.h"
#include "model_config_check.h"
#include "model_factory.h"
#include "table.h"
#include "text.h"

#include <CLI/Validators.hpp>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brellix::app {
namespace {

struct DetectOptions {
    std::string config;
    std::vector<std::string> inputs;
    bool recursive = false;
    std::string outFolder;
    std::string jsonFile;  ///< "-" for standard output
    std::string namesFile;
    std::string modelClass;
    bool quiet = false;
    bool verbose = false;

    bool jsonGoesToStandardOutput() const { return jsonFile == "-"; }
    bool wantsTable() const { return !quiet && !jsonGoesToStandardOutput(); }
};

constexpr const char* kExamples =
    "Examples:\n"
    "  brellix detect shapes.yaml photo.jpg              a table of what is on the picture\n"
    "  brellix detect shapes.yaml pictures/ --out seen   annotated copies in the folder seen\n"
    "  brellix detect shapes.yaml 'cam?/*.png' --json results.jsonl\n"
    "  brellix detect shapes.yaml pictures/ --json - | jq .objects\n"
    "\n"
    "A picture that cannot be read is reported and passed over; the exit status is then 3.\n"
    "Exit status: 0 done, 2 wrong use, bad configuration or missing input, 3 a failure at work.";

void addInputOptions(CLI::App& command, DetectOptions& options) {
    command.add_option("CONFIG", options.config, "Model configuration (YAML)")->required()->type_name("");
    command
        .add_option("INPUT", options.inputs, "Picture files, folders, or quoted patterns like 'cam?/*.png'")
        ->required()
        ->type_name("");
    command.add_flag("-r,--recursive", options.recursive, "Look into the subfolders of folders, too");
    command
        .add_option("--names", options.namesFile,
                    "Class names, one a line (default: class_mapping of CONFIG)")
        ->type_name("FILE");
    command.add_option("--model", options.modelClass, "Model class, where CONFIG has no key \"model\"")
        ->check(CLI::IsMember(modelClassNames()));
}

void addOutputOptions(CLI::App& command, DetectOptions& options) {
    command
        .add_option("-o,--out", options.outFolder, "Write annotated copies of the pictures into this folder")
        ->type_name("");
    command.add_option("--json", options.jsonFile, "Write one line of JSON a picture; - is standard output")
        ->type_name("FILE");
    CLI::Option* const quiet =
        command.add_flag("-q,--quiet", options.quiet, "No table, no notes, only errors");
    command.add_flag("-v,--verbose", options.verbose, "Show what the library says, on standard error")
        ->excludes(quiet);
}

Verbosity verbosityOf(const DetectOptions& options) {
    return options.quiet ? Verbosity::kQuiet : options.verbose ? Verbosity::kVerbose : Verbosity::kNormal;
}

ModelConfig loadConfig(const DetectOptions& options, Console& console) {
    ModelConfig config = checkModelConfig(options.config);
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
    return config;
}

ClassList loadClasses(const DetectOptions& options, const ModelConfig& config, Console& console) {
    ClassList classes(options.namesFile, config.document);
    const std::string mismatch = classes.mismatchWith(config.classNum);
    if (!mismatch.empty()) {
        console.warning(mismatch);
    }
    return classes;
}

std::vector<std::string> loadInputs(const DetectOptions& options, Console& console) {
    InputList list = expandInputs(options.inputs, options.recursive);
    if (list.repeated > 0) {
        console.note(counted(list.repeated, "picture") + " given more than once, processed once");
    }
    return std::move(list.pictures);
}

/// Emptying a file for the results must not be what destroys the pictures.
void refuseToOverwriteInputs(const std::string& jsonFile, const ModelConfig& config,
                             const std::vector<std::string>& sources) {
    std::vector<std::string> inputs = sources;
    inputs.push_back(config.path);
    inputs.push_back(config.networkPath);
    for (const std::string& input : inputs) {
        std::error_code ignored;
        if (std::filesystem::equivalent(jsonFile, input, ignored)) {
            throw wrongUse("--json: " + jsonFile + " is one of the inputs and would be overwritten");
        }
    }
}

/// The file that --json names, where it names one.
std::optional<Sink> createJsonFile(const DetectOptions& options, const ModelConfig& config,
                                   const std::vector<std::string>& sources) {
    if (options.jsonFile.empty() || options.jsonGoesToStandardOutput()) {
        return std::nullopt;
    }
    refuseToOverwriteInputs(options.jsonFile, config, sources);
    return Sink::createFile(options.jsonFile);
}

/// What a run works on, all of it checked.
struct DetectJob {
    ModelConfig config;
    ClassList classes;
    std::vector<std::string> sources;
};

DetectJob prepareJob(const DetectOptions& options, Console& console) {
    ModelConfig config = loadConfig(options, console);
    ClassList classes = loadClasses(options, config, console);
    return {std::move(config), std::move(classes), loadInputs(options, console)};
}

/// \param standardOutput for the table or the JSON lines
/// \param jsonFile       where --json names a file
ResultWriters makeWriters(const DetectOptions& options, const DetectJob& job, Sink& standardOutput,
                          std::optional<Sink>& jsonFile, Console& console) {
    ResultWriters writers;
    if (!options.outFolder.empty()) {
        writers.push_back(
            std::make_unique<AnnotatedPictureWriter>(options.outFolder, job.sources, job.classes, console));
    }
    if (!options.jsonFile.empty()) {
        writers.push_back(
            std::make_unique<JsonLinesWriter>(jsonFile ? *jsonFile : standardOutput, job.classes));
    }
    if (options.wantsTable()) {
        writers.push_back(std::make_unique<TableWriter>(standardOutput, job.classes, job.sources));
    }
    return writers;
}

/// The exit status of a run; says what failed where no table has said it.
ExitStatus conclude(const RunTotals& totals, const DetectOptions& options, Console& console) {
    if (totals.failed == 0) {
        return ExitStatus::kDone;
    }
    if (!options.wantsTable()) {
        console.note(std::to_string(totals.failed) + " of " +
                     counted(totals.failed + totals.pictures, "picture") + " failed");
    }
    return ExitStatus::kFailedAtWork;
}

ExitStatus detect(const DetectOptions& options, OwnOutput& output, Console& console) {
    console.setVerbosity(verbosityOf(options));
    if (options.verbose) {
        output.showLibraryLines();
    }
    const DetectJob job = prepareJob(options, console);
    const auto model = buildModel(job.config, options.modelClass);
    std::optional<Sink> jsonFile = createJsonFile(options, job.config, job.sources);
    const ResultWriters writers = makeWriters(options, job, output.sink(), jsonFile, console);
    const RunTotals totals = runOverPictures(*model, job.config.inputSize, job.sources, writers, console);
    for (const auto& writer : writers) {
        writer->finish(totals);
    }
    return conclude(totals, options, console);
}

}  // namespace

Subcommand addDetectCommand(CLI::App& app) {
    const auto options = std::make_shared<DetectOptions>();
    CLI::App* const command = app.add_subcommand("detect", "Find the objects on pictures");
    command->footer(kExamples);
    addInputOptions(*command, *options);
    addOutputOptions(*command, *options);
    return {command,
            [options](OwnOutput& output, Console& console) { return detect(*options, output, console); }};
}

}  // namespace brellix::app
