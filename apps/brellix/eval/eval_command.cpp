#include "eval/eval_command.h"

#include "eval/dataset_pictures.h"
#include "eval/detections_file.h"
#include "eval/eval_report.h"
#include "eval/eval_run.h"
#include "eval/eval_table.h"
#include "eval/precision_plot.h"
#include "files/picture_writer.h"
#include "files/result_file.h"
#include "files/sink.h"
#include "option_values.h"
#include "run_options.h"

#include <opencv2/imgcodecs.hpp>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brellix::app {
namespace {

// Average precision is measured over all of recall, so that hardly anything is left out beforehand.
constexpr float kConfThreshold = 0.001F;

struct EvalOptions {
    ModelRequest model;
    VerbosityOptions verbosity;
    std::string dataset;
    std::string imagesFolder;
    std::string namesFile;
    bool byOrder = false;
    std::size_t limit = 0;  ///< 0 for all pictures
    std::string jsonFile;   ///< "-" for standard output
    std::string plotFile;
    std::string detectionsFile;

    bool jsonGoesToStandardOutput() const { return jsonFile == "-"; }
};

constexpr const char* kExamples =
    "Examples:\n"
    "  brellix eval shapes.yaml truth.json                        a COCO file, its pictures beside it\n"
    "  brellix eval shapes.yaml instances.json --images val2017 --json figures.json --plot pr.png\n"
    "  brellix eval shapes.yaml dataset/                          YOLO's images/ and labels/\n"
    "  brellix eval shapes.yaml truth.json --detections found.json   for another evaluation\n"
    "\n"
    "The confidence threshold is 0.001 whatever conf_thres says, since average precision is about all\n"
    "thresholds; --conf sets another one. nms_thres stays as it is.\n"
    "Exit status: 0 done, 2 wrong use, bad configuration or dataset, 3 a failure at work.";

void addDatasetOptions(CLI::App& command, EvalOptions& options) {
    command
        .add_option("DATASET", options.dataset,
                    "COCO file (JSON), or a folder or data.yaml with labels as YOLO has them")
        ->required()
        ->type_name("");
    command
        .add_option("--images", options.imagesFolder,
                    "Folder of the pictures of a COCO file (default: beside it, or in a folder around it)")
        ->type_name("DIR");
    command
        .add_option("--names", options.namesFile,
                    "Class names of the network, one a line (default: class_mapping of CONFIG)")
        ->type_name("FILE");
    command.add_flag("--by-order", options.byOrder,
                     "The sorted category ids are the classes 0, 1, 2 ..., whatever their names");
    command.add_option("--limit", options.limit, "Only the first N pictures")
        ->type_name("N")
        ->transform(wholeNumber(1));
}

void addEvalThresholds(CLI::App& command, ModelRequest& request) {
    addThresholdOptions(command, request);
    command.get_option("--conf")->description(
        "Confidence threshold (default: 0.001; conf_thres is not used)");
}

void addResultOptions(CLI::App& command, EvalOptions& options) {
    command.add_option("--json", options.jsonFile, "Write the figures as JSON; - is standard output")
        ->type_name("FILE");
    command.add_option("--plot", options.plotFile, "Draw precision by recall into this picture (.png, .jpg)")
        ->type_name("FILE");
    command
        .add_option("--detections", options.detectionsFile,
                    "Write what was found in COCO's result form (JSON)")
        ->type_name("FILE");
}

std::vector<std::string> sourcesOf(const GroundTruth& truth, const EvalOptions& options) {
    if (truth.labels.empty()) {
        return picturePaths(truth.dataset, options.imagesFolder);
    }
    if (!options.imagesFolder.empty()) {
        throw wrongUse("--images is for COCO files; " + options.dataset + " has its pictures itself");
    }
    std::vector<std::string> sources;
    for (const TruthPicture& picture : truth.dataset.pictures) {
        sources.push_back(picture.file);
    }
    return sources;
}

EvalJob prepareJob(const EvalOptions& options, Console& console) {
    ModelRequest request = options.model;
    request.confThreshold = request.confThreshold.value_or(kConfThreshold);
    ModelConfig config = loadConfig(request, console);
    ClassList classes = loadClasses(options.namesFile, config, console);
    GroundTruth truth = readGroundTruth(options.dataset);
    if (options.limit > 0) {
        keepFirst(options.limit, truth);
    }
    std::vector<std::string> sources = sourcesOf(truth, options);
    const NetworkClasses network{classes.names(), static_cast<std::size_t>(config.classNum)};
    ClassMapping mapping =
        mapClasses(truth.dataset, network, options.byOrder ? MappingRule::kByOrder : MappingRule::kByName);
    return {std::move(config), std::move(classes), std::move(truth), std::move(sources), std::move(mapping)};
}

/// The files of the results that are created before the work; the plot is written in one go at the end.
struct EvalFiles {
    std::optional<Sink> json;
    std::optional<Sink> detections;
};

void claimFiles(const EvalOptions& options, ProtectedFiles files) {
    files.claim("--plot", options.plotFile);
    if (!options.jsonGoesToStandardOutput()) {
        files.claim("--json", options.jsonFile);
    }
    files.claim("--detections", options.detectionsFile);
}

std::optional<Sink> createFile(const std::string& path) {
    if (path.empty() || path == "-") {
        return std::nullopt;
    }
    return Sink::createFile(path);
}

EvalFiles createFiles(const EvalOptions& options, const EvalJob& job) {
    if (options.detectionsFile == "-") {
        throw wrongUse("--detections: write to a file; standard output is for the figures");
    }
    if (!options.plotFile.empty() && !cv::haveImageWriter(options.plotFile)) {
        throw wrongUse("--plot: " + options.plotFile + " has no extension of a picture, as .png is");
    }
    ProtectedFiles files = inputsOf(job.config, options.namesFile, job.sources);
    files.addInputs(job.truth.files);
    claimFiles(options, std::move(files));
    if (!options.plotFile.empty()) {
        requireWritable(options.plotFile);
    }
    return {createFile(options.jsonFile), createFile(options.detectionsFile)};
}

PlotPanel panelOf(const std::string& what, const Evaluation& evaluation,
                  const std::vector<CategoryName>& names) {
    PlotPanel panel{what + ": precision by recall at IoU 0.50", {}};
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (evaluation.categories[i].precision50) {
            panel.lines.push_back({names[i].name, *evaluation.categories[i].precision50});
        }
    }
    return panel;
}

void writePlot(const std::string& path, const EvalResult& result) {
    std::vector<PlotPanel> panels = {panelOf("boxes", result.boxes, result.names)};
    if (result.masks) {
        panels.push_back(panelOf("masks", *result.masks, result.names));
    }
    writePictureFile(path, drawPrecision(panels));
}

void writeResults(const EvalOptions& options, const EvalJob& job, const EvalResult& result, EvalFiles& files,
                  Sink& standardOutput) {
    if (files.detections) {
        writeDetections(job.dataset(), result.run.detections, *files.detections);
    }
    if (!options.jsonFile.empty()) {
        Sink& sink = files.json ? *files.json : standardOutput;
        sink.write(evalReport(job, result));
        sink.close();
    }
    if (!options.verbosity.quiet && !options.jsonGoesToStandardOutput()) {
        standardOutput.write(evalTable(job, result));
        standardOutput.close();
    }
    // Last, since a picture that cannot be written should not take the figures with it.
    if (!options.plotFile.empty()) {
        writePlot(options.plotFile, result);
    }
}

ExitStatus runEval(const EvalOptions& options, OwnOutput& output, Console& console) {
    applyVerbosity(options.verbosity, output, console);
    EvalJob job = prepareJob(options, console);
    EvalFiles files = createFiles(options, job);
    const EvalResult result = runEvaluation(job, console);
    writeResults(options, job, result, files, output.sink());
    return result.run.failed == 0 ? ExitStatus::kDone : ExitStatus::kFailedAtWork;
}

}  // namespace

Subcommand addEvalCommand(CLI::App& app) {
    const auto options = std::make_shared<EvalOptions>();
    CLI::App* const command =
        app.add_subcommand("eval", "Measure average precision and recall against ground truth");
    command->footer(kExamples);
    addModelOptions(*command, options->model);
    addDatasetOptions(*command, *options);
    addEvalThresholds(*command, options->model);
    addResultOptions(*command, *options);
    addVerbosityOptions(*command, options->verbosity);
    return {command,
            [options](OwnOutput& output, Console& console) { return runEval(*options, output, console); }};
}

}  // namespace brellix::app
