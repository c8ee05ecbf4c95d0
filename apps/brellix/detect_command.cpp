#include "detect_command.h"

#include "annotated_pictures.h"
#include "class_list.h"
#include "detect_run.h"
#include "json_lines.h"
#include "model_factory.h"
#include "run_options.h"
#include "table.h"
#include "text.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brellix::app {
namespace {

struct DetectOptions {
    RunOptions run;
    std::string outFolder;
    std::string jsonFile;  ///< "-" for standard output
    std::string namesFile;

    bool jsonGoesToStandardOutput() const { return jsonFile == "-"; }
    bool wantsTable() const { return !run.verbosity.quiet && !jsonGoesToStandardOutput(); }
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

void addDetectOptions(CLI::App& command, DetectOptions& options) {
    command
        .add_option("-o,--out", options.outFolder, "Write annotated copies of the pictures into this folder")
        ->type_name("DIR");
    command.add_option("--json", options.jsonFile, "Write one line of JSON a picture; - is standard output")
        ->type_name("FILE");
    command
        .add_option("--names", options.namesFile,
                    "Class names, one a line (default: class_mapping of CONFIG)")
        ->type_name("FILE");
}

ClassList loadClasses(const DetectOptions& options, const ModelConfig& config, Console& console) {
    ClassList classes(options.namesFile, config.document);
    const std::string mismatch = classes.mismatchWith(config.classNum);
    if (!mismatch.empty()) {
        console.warning(mismatch);
    }
    return classes;
}

/// The file that --json names, where it names one.
std::optional<Sink> createJsonFile(const DetectOptions& options, const ModelConfig& config,
                                   const std::vector<std::string>& sources) {
    if (options.jsonFile.empty() || options.jsonGoesToStandardOutput()) {
        return std::nullopt;
    }
    refuseToOverwriteInputs("--json", options.jsonFile, config, sources);
    return Sink::createFile(options.jsonFile);
}

/// What a run works on, all of it checked.
struct DetectJob {
    ModelConfig config;
    ClassList classes;
    std::vector<std::string> sources;
};

DetectJob prepareJob(const DetectOptions& options, Console& console) {
    ModelConfig config = loadConfig(options.run.model, console);
    ClassList classes = loadClasses(options, config, console);
    return {std::move(config), std::move(classes), loadInputs(options.run.input, console)};
}

Drawing drawingFor(const DetectJob& job) {
    return {job.classes, job.config.modelClass == ModelClass::kYoloV8Seg};
}

/// \param standardOutput for the table or the JSON lines
/// \param jsonFile       where --json names a file
ResultWriters makeWriters(const DetectOptions& options, const DetectJob& job, Sink& standardOutput,
                          std::optional<Sink>& jsonFile, Console& console) {
    ResultWriters writers;
    if (!options.outFolder.empty()) {
        writers.push_back(std::make_unique<AnnotatedPictureWriter>(options.outFolder, job.sources,
                                                                   drawingFor(job), console));
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
    applyVerbosity(options.run.verbosity, output, console);
    const DetectJob job = prepareJob(options, console);
    const auto model = buildModel(job.config);
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
    addModelOptions(*command, options->run.model);
    addThresholdOptions(*command, options->run.model);
    addInputOptions(*command, options->run.input);
    addVerbosityOptions(*command, options->run.verbosity);
    addDetectOptions(*command, *options);
    return {command,
            [options](OwnOutput& output, Console& console) { return detect(*options, output, console); }};
}

}  // namespace brellix::app
