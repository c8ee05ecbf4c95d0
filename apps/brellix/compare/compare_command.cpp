#include "compare/compare_command.h"

#include "compare/compare_report.h"
#include "compare/compare_run.h"
#include "compare/compare_table.h"
#include "console/text.h"
#include "files/picture_writer.h"
#include "files/sink.h"
#include "option_values.h"
#include "run_options.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brellix::app {
namespace {

struct CompareOptions {
    ModelRequest a;  ///< its thresholds and model class are for both
    std::string configB;
    InputOptions input;
    VerbosityOptions verbosity;
    ComparisonLimits limits;
    std::string namesFile;
    double overlap = 0.5;
    double margin = 0.05;
    std::string outFolder;
    std::size_t worst = 5;
    std::string jsonFile;  ///< "-" for standard output

    bool jsonGoesToStandardOutput() const { return jsonFile == "-"; }
};

constexpr const char* kExamples =
    "Examples:\n"
    "  brellix compare float.yaml int8.yaml pictures/\n"
    "  brellix compare float.yaml int8.yaml pictures/ --out worst     side by side where they differ most\n"
    "  brellix compare old.yaml new.yaml pictures/ --max-missed 0 --max-drift 0.1 --json -\n"
    "\n"
    "A is the reference: what only A finds is missed, what only B finds is extra.\n"
    "Exit status: 0 done, 1 a limit is exceeded, 2 wrong use, bad configuration or missing input,\n"
    "3 a failure at work.";

void addConfigs(CLI::App& command, CompareOptions& options) {
    command.add_option("A", options.a.config, "Configuration to compare with (YAML)")
        ->required()
        ->type_name("");
    command.add_option("B", options.configB, "Configuration that is compared (YAML)")
        ->required()
        ->type_name("");
    addModelClassOption(command, options.a.modelClass);
    command.add_option("--names", options.namesFile, "Class names, one a line (default: class_mapping of A)")
        ->type_name("FILE");
}

void addRules(CLI::App& command, CompareOptions& options) {
    command
        .add_option("--iou", options.overlap, "Overlap of boxes from which two are one object (default: 0.5)")
        ->type_name("NUMBER")
        ->check(numberFrom0To1());
    command
        .add_option("--margin", options.margin, "Distance from the threshold that is near it (default: 0.05)")
        ->type_name("NUMBER")
        ->check(numberFrom0To1());
}

void addLimits(CLI::App& command, ComparisonLimits& limits) {
    const std::string group = "Limits (exit status 1 past them)";
    const auto count = [&](const char* name, std::optional<std::size_t>& limit, const char* text) {
        command.add_option(name, limit, text)->type_name("N")->transform(wholeNumber(0))->group(group);
    };
    const auto number = [&](const char* name, std::optional<double>& limit, const char* text) {
        command.add_option(name, limit, text)->type_name("NUMBER")->check(numberFrom0To1())->group(group);
    };
    count("--max-missed", limits.maxMissed, "Objects only in A, not counting those near the threshold");
    count("--max-extra", limits.maxExtra, "Objects only in B, not counting those near the threshold");
    count("--max-changed", limits.maxChanged, "Objects of another class");
    number("--max-drift", limits.maxDrift, "Difference of the probabilities of one object");
    number("--min-box-iou", limits.minBoxOverlap, "Overlap of the boxes of one object");
    number("--min-mask-iou", limits.minMaskOverlap, "Overlap of the masks of one object");
}

void addResultOptions(CLI::App& command, CompareOptions& options) {
    command
        .add_option("-o,--out", options.outFolder,
                    "Write the worst pictures side by side into this folder, A left and B right")
        ->type_name("DIR");
    command.add_option("--worst", options.worst, "How many pictures are worst (default: 5)")
        ->type_name("N")
        ->transform(wholeNumber(0));
    command.add_option("--json", options.jsonFile, "Write the figures as JSON; - is standard output")
        ->type_name("FILE");
}

ModelRequest requestForB(const CompareOptions& options) {
    ModelRequest request = options.a;
    request.config = options.configB;
    return request;
}

void warnOfDifferentClasses(const ModelConfig& a, const ModelConfig& b, Console& console) {
    const ClassList inA("", a.document);
    const ClassList inB("", b.document);
    if (a.classNum != b.classNum) {
        console.warning("A has " + counted(static_cast<std::size_t>(a.classNum), "class", "classes") +
                        " (class_num), B has " + std::to_string(b.classNum));
    } else if (!inA.names().empty() && !inB.names().empty() && inA.names() != inB.names()) {
        console.warning("A and B call their classes differently; compared are the class numbers");
    }
}

void noteDifferentThresholds(const ModelConfig& a, const ModelConfig& b, Console& console) {
    if (a.confThreshold != b.confThreshold) {
        console.note(
            "A and B have different confidence thresholds (conf_thres): what the lower one alone "
            "lets through is missed or extra; --conf sets both");
    }
}

SideRules rulesOf(const ModelConfig& config) {
    return {static_cast<double>(config.confThreshold), traitsOf(config.modelClass).probabilityIsProduct};
}

CompareJob prepareJob(const CompareOptions& options, Console& console) {
    ModelConfig a = loadConfig(options.a, console);
    ModelConfig b = loadConfig(requestForB(options), console);
    warnOfDifferentClasses(a, b, console);
    noteDifferentThresholds(a, b, console);
    ClassList classes = loadClasses(options.namesFile, a, console);
    std::vector<std::string> sources = loadInputs(options.input, console);
    const ComparisonRules rules{options.overlap, options.margin, rulesOf(a), rulesOf(b)};
    return {std::move(a), std::move(b),  std::move(classes),        std::move(sources),
            rules,        options.worst, !options.outFolder.empty()};
}

void writeWorst(const std::string& folder, const ProtectedFiles& files, const CompareResult& result,
                Console& console) {
    std::size_t rank = 0;
    for (const WorstPicture& picture : result.worst) {
        const std::string name = "worst-" + std::to_string(++rank) + '-' +
                                 std::filesystem::path(picture.source).stem().string() + ".png";
        const std::string target = (std::filesystem::path(folder) / name).string();
        files.refuse("--out", target);
        writePictureFile(target, picture.drawing);
    }
    console.note(counted(result.worst.size(), "picture") + " written to " + folder);
}

void writeResults(const CompareOptions& options, const CompareJob& job, const CompareResult& result,
                  const std::vector<std::string>& exceeded, Sink& standardOutput,
                  std::optional<Sink>& jsonFile) {
    if (!options.jsonFile.empty()) {
        Sink& sink = jsonFile ? *jsonFile : standardOutput;
        sink.write(compareReport(job, result, exceeded));
        sink.close();
    }
    if (!options.verbosity.quiet && !options.jsonGoesToStandardOutput()) {
        standardOutput.write(compareTable(job, result));
        standardOutput.close();
    }
}

ExitStatus conclude(const CompareResult& result, const std::vector<std::string>& exceeded, Console& console) {
    for (const std::string& line : exceeded) {
        console.error("limit exceeded: " + line);
    }
    // An answer that leaves pictures out is none yet, whatever it says about the others.
    if (result.failed > 0) {
        return ExitStatus::kFailedAtWork;
    }
    return exceeded.empty() ? ExitStatus::kDone : ExitStatus::kAnswerIsNo;
}

ExitStatus runCompare(const CompareOptions& options, OwnOutput& output, Console& console) {
    applyVerbosity(options.verbosity, output, console);
    const CompareJob job = prepareJob(options, console);
    ProtectedFiles files = inputsOf(job.a, options.namesFile, job.sources);
    addModelFiles(job.b, files);
    std::optional<Sink> jsonFile = createJsonFile(options.jsonFile, files);
    if (job.drawsWorst) {
        createFolder(options.outFolder);
    }
    const CompareResult result = runComparison(job, console);
    const std::vector<std::string> exceeded = exceededLimits(result.comparison, options.limits);
    writeResults(options, job, result, exceeded, output.sink(), jsonFile);
    // Last, since a picture that cannot be written should not take the figures with it.
    if (job.drawsWorst) {
        writeWorst(options.outFolder, files, result, console);
    }
    return conclude(result, exceeded, console);
}

}  // namespace

Subcommand addCompareCommand(CLI::App& app) {
    const auto options = std::make_shared<CompareOptions>();
    CLI::App* const command = app.add_subcommand("compare", "Measure how far two configurations agree");
    command->footer(kExamples);
    addConfigs(*command, *options);
    addInputOptions(*command, options->input);
    addThresholdOptions(*command, options->a);
    addRules(*command, *options);
    addLimits(*command, options->limits);
    addResultOptions(*command, *options);
    addVerbosityOptions(*command, options->verbosity);
    return {command,
            [options](OwnOutput& output, Console& console) { return runCompare(*options, output, console); }};
}

}  // namespace brellix::app
