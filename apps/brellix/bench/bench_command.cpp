#include "bench/bench_command.h"

#include "bench/bench_report.h"
#include "bench/bench_run.h"
#include "config/model_factory.h"
#include "files/broken_picture.h"
#include "files/picture_reader.h"
#include "option_values.h"
#include "run_options.h"
#include "sources/early_end.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brellix::app {
namespace {

// Enough for variety; at 1920 x 1080 they take 400 MB.
constexpr std::size_t kMostPictures = 64;

struct BenchOptions {
    RunOptions run;
    std::size_t frames = 200;
    std::size_t warmUp = 10;
    std::string jsonFile;  ///< "-" for standard output

    bool jsonGoesToStandardOutput() const { return jsonFile == "-"; }
};

constexpr const char* kExamples =
    "Examples:\n"
    "  brellix bench shapes.yaml photo.jpg\n"
    "  brellix bench shapes.yaml pictures/ --frames 1000 --json times.json\n"
    "\n"
    "The pictures, the first 64 at most, are read first and run in turn: files are not part of the times.\n"
    "pre is letterbox and input tensor, infer the engine, post decoding and suppression.\n"
    "Exit status: 0 done, 2 wrong use, bad configuration or missing input, 3 a failure at work.";

void addBenchOptions(CLI::App& command, BenchOptions& options) {
    command.add_option("--frames", options.frames, "Frames to measure (default: 200)")
        ->transform(wholeNumber(1, 10'000'000))
        ->type_name("N");
    command.add_option("--warm-up", options.warmUp, "Frames to run before (default: 10)")
        ->transform(wholeNumber(0, 1'000'000))
        ->type_name("N");
    command.add_option("--json", options.jsonFile, "Write the figures as JSON; - is standard output")
        ->type_name("FILE");
}

/// \param failed receives how many could not be read.
std::vector<LoadedPicture> loadPictures(const std::vector<std::string>& sources, Console& console,
                                        std::size_t& failed) {
    std::vector<LoadedPicture> pictures;
    for (const std::string& source : sources) {
        if (pictures.size() == kMostPictures) {
            break;
        }
        try {
            pictures.push_back({source, readPicture(source)});
            warnOfEarlyEnd(source, console);
        } catch (const BrokenPicture& broken) {
            console.error(source + ": " + broken.what());
            ++failed;
        }
    }
    if (pictures.empty()) {
        throw failedAtWork("no picture could be used");
    }
    return pictures;
}

void writeResult(const BenchOptions& options, const std::string& table, const std::string& json,
                 Sink& standardOutput, std::optional<Sink>& jsonFile) {
    if (!options.jsonFile.empty()) {
        Sink& sink = jsonFile ? *jsonFile : standardOutput;
        sink.write(json);
        sink.close();
    }
    if (!options.run.verbosity.quiet && !options.jsonGoesToStandardOutput()) {
        standardOutput.write(table);
        standardOutput.close();
    }
}

ExitStatus bench(const BenchOptions& options, OwnOutput& output, Console& console) {
    applyVerbosity(options.run.verbosity, output, console);
    const ModelConfig config = loadConfig(options.run.model, console);
    const std::vector<std::string> sources = loadInputs(options.run.input, console);
    ProtectedFiles files = inputsOf(config, "", sources);
    std::optional<Sink> jsonFile = createJsonFile(options.jsonFile, files);
    std::size_t failed = 0;
    const std::vector<LoadedPicture> pictures = loadPictures(sources, console, failed);
    const auto model = buildModel(config);
    const BenchResult result = runBench(*model, pictures, {options.warmUp, options.frames}, console);
    writeResult(options, benchTable(result, pictures.size()), benchJson(result, config.path, pictures.size()),
                output.sink(), jsonFile);
    return failed == 0 ? ExitStatus::kDone : ExitStatus::kFailedAtWork;
}

}  // namespace

Subcommand addBenchCommand(CLI::App& app) {
    const auto options = std::make_shared<BenchOptions>();
    CLI::App* const command = app.add_subcommand("bench", "Measure the time of each stage");
    command->footer(kExamples);
    addModelOptions(*command, options->run.model);
    addThresholdOptions(*command, options->run.model);
    addInputOptions(*command, options->run.input);
    addBenchOptions(*command, *options);
    addVerbosityOptions(*command, options->run.verbosity);
    return {command,
            [options](OwnOutput& output, Console& console) { return bench(*options, output, console); }};
}

}  // namespace brellix::app
