#include "detect/detect_command.h"

#include "config/class_list.h"
#include "config/model_factory.h"
#include "console/stop_request.h"
#include "console/text.h"
#include "detect/annotated_output.h"
#include "detect/class_filter.h"
#include "detect/crops.h"
#include "detect/detect_run.h"
#include "detect/detect_sources.h"
#include "detect/json_lines.h"
#include "detect/table.h"
#include "detect/video_log.h"
#include "run_options.h"

#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brellix::app {
namespace {

struct DetectOptions {
    ModelRequest model;
    SourceOptions sources;
    VerbosityOptions verbosity;
    std::vector<std::string> classes;
    std::string outFolder;
    std::string cropFolder;
    std::string jsonFile;  ///< "-" for standard output
    std::string maskFormat = "rle";
    std::string namesFile;

    bool jsonGoesToStandardOutput() const { return jsonFile == "-"; }
    bool wantsTable() const { return !verbosity.quiet && !jsonGoesToStandardOutput(); }
};

constexpr const char* kExamples =
    "Examples:\n"
    "  brellix detect shapes.yaml photo.jpg              a table of what is on the picture\n"
    "  brellix detect shapes.yaml pictures/ --out seen   annotated copies in the folder seen\n"
    "  brellix detect shapes.yaml 'cam?/*.png' --json results.jsonl\n"
    "  brellix detect shapes.yaml clip.mp4 --every 5 --out seen --classes disc,cube\n"
    "  brellix detect shapes.yaml --camera 0 --limit 100 --json - | jq .objects\n"
    "  find pictures -name '*.jpg' | brellix detect shapes.yaml - --crops found\n"
    "\n"
    "A picture or frame that cannot be read is reported and passed over; the exit status is then 3.\n"
    "Ctrl-C ends after the frame in work, with all results written; a second one ends at once.\n"
    "Exit status: 0 done, 2 wrong use, bad configuration or missing input, 3 a failure at work,\n"
    "128 + signal number where a signal ended it.";

void addOutputOptions(CLI::App& command, DetectOptions& options) {
    command
        .add_option("-o,--out", options.outFolder,
                    "Write annotated copies of the pictures and videos into this folder")
        ->type_name("DIR");
    command.add_option("--crops", options.cropFolder, "Write each object as a JPEG into this folder")
        ->type_name("DIR");
    command
        .add_option("--json", options.jsonFile,
                    "Write one line of JSON a picture or frame; - is standard output")
        ->type_name("FILE");
    command
        .add_option("--mask-format", options.maskFormat,
                    "How JSON says masks: rle (default), polygon or none")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"rle", "polygon", "none"}));
}

void addClassOptions(CLI::App& command, DetectOptions& options) {
    command
        .add_option("--names", options.namesFile,
                    "Class names, one a line (default: class_mapping of CONFIG)")
        ->type_name("FILE");
    command
        .add_option("--classes", options.classes,
                    "Only objects of these classes, by name or number, with commas between them")
        ->type_name("NAMES")
        ->allow_extra_args(false);
}

MaskFormat maskFormatOf(const DetectOptions& options) {
    return options.maskFormat == "polygon" ? MaskFormat::kPolygons
           : options.maskFormat == "none"  ? MaskFormat::kNone
                                           : MaskFormat::kRunLengths;
}

/// What a run works on, all of it checked.
struct DetectJob {
    ModelConfig config;
    ClassList classes;
    ClassFilter filter;
    DetectSources sources;
};

DetectJob prepareJob(const DetectOptions& options, Console& console) {
    ModelConfig config = loadConfig(options.model, console);
    ClassList classes = loadClasses(options.namesFile, config, console);
    ClassFilter filter(options.classes, classes, config.classNum);
    return {std::move(config), std::move(classes), std::move(filter), loadSources(options.sources, console)};
}

Drawing drawingFor(const DetectJob& job) {
    return {job.classes, traitsOf(job.config.modelClass).makesMasks};
}

/// \param files          grows by what is written
/// \param standardOutput for the table or the JSON lines
/// \param jsonFile       where --json names a file
ResultWriters makeWriters(const DetectOptions& options, const DetectJob& job, ProtectedFiles& files,
                          Sink& standardOutput, std::optional<Sink>& jsonFile, Console& console) {
    const std::vector<FrameId>& sources = job.sources.known;
    ResultWriters writers;
    if (!options.outFolder.empty()) {
        writers.push_back(
            std::make_unique<AnnotatedWriter>(options.outFolder, sources, drawingFor(job), files, console));
    }
    if (!options.cropFolder.empty()) {
        writers.push_back(
            std::make_unique<CropWriter>(options.cropFolder, sources, job.classes, files, console));
    }
    if (!options.jsonFile.empty()) {
        writers.push_back(std::make_unique<JsonLinesWriter>(jsonFile ? *jsonFile : standardOutput,
                                                            job.classes, maskFormatOf(options)));
    }
    if (options.wantsTable()) {
        writers.push_back(std::make_unique<TableWriter>(standardOutput, job.classes, sources));
    }
    return writers;
}

/// The exit status of a run; says what failed where no table has said it.
ExitStatus conclude(const RunTotals& totals, const DetectOptions& options, Console& console) {
    if (totals.failed > 0 && !options.wantsTable()) {
        console.note(std::to_string(totals.failed) + " of " +
                     counted(totals.failed + totals.pictures, totals.noun) + " failed");
    }
    if (totals.isStopped) {
        console.note("stopped by " + std::string(StopRequest::signalName()) + " after " +
                     counted(totals.pictures, totals.noun));
        return ExitStatus::kStopped;
    }
    return totals.failed == 0 ? ExitStatus::kDone : ExitStatus::kFailedAtWork;
}

/// Runs over the frames and finishes each result: that one cannot be written is no reason to leave the others
/// unfinished.
/// \return the status of the first failure, which is said; those that follow mostly come of it.
std::optional<ExitStatus> runAndFinish(const DetectRun& run, FrameSource& frames, Console& console,
                                       RunTotals& totals) {
    std::optional<ExitStatus> failed;
    const auto attempt = [&](const auto& work) {
        try {
            work();
        } catch (const Failure& failure) {
            console.hideStatusLine();
            if (failed) {
                console.detail(failure.what());
            } else {
                console.error(failure.what());
                failed = failure.status();
            }
        }
    };
    attempt([&] { runOverFrames(run, frames, console, totals); });
    for (const auto& writer : run.writers) {
        attempt([&] { writer->finish(totals); });
    }
    return failed;
}

ExitStatus detect(const DetectOptions& options, OwnOutput& output, Console& console) {
    applyVerbosity(options.verbosity, output, console);
    if (!options.verbosity.verbose) {
        silenceVideoLibraries();
    }
    const DetectJob job = prepareJob(options, console);
    const auto model = buildModel(job.config);
    ProtectedFiles files = inputsOf(job.config, options.namesFile, job.sources.files());
    std::optional<Sink> jsonFile = createJsonFile(options.jsonFile, files);
    const ResultWriters writers = makeWriters(options, job, files, output.sink(), jsonFile, console);
    const StopRequest stop;
    const DetectRun run{*model, job.config.inputSize, job.filter, writers,
                        options.sources.limit.value_or(std::numeric_limits<std::size_t>::max())};
    RunTotals totals;
    totals.noun = job.sources.noun;
    const std::optional<ExitStatus> failed = runAndFinish(run, *job.sources.frames, console, totals);
    // Ctrl-C reaches the reader of our output, too, and ends it at once.
    totals.isStopped = totals.isStopped || (failed && StopRequest::isMade());
    return failed && !totals.isStopped ? *failed : conclude(totals, options, console);
}

}  // namespace

Subcommand addDetectCommand(CLI::App& app) {
    const auto options = std::make_shared<DetectOptions>();
    CLI::App* const command = app.add_subcommand("detect", "Find the objects on pictures and videos");
    command->footer(kExamples);
    addModelOptions(*command, options->model);
    addThresholdOptions(*command, options->model);
    addSourceOptions(*command, options->sources);
    addVerbosityOptions(*command, options->verbosity);
    command->get_option("--verbose")
        ->description("Show what the library and the video libraries say, on standard error");
    addOutputOptions(*command, *options);
    addClassOptions(*command, *options);
    return {command,
            [options](OwnOutput& output, Console& console) { return detect(*options, output, console); }};
}

}  // namespace brellix::app
