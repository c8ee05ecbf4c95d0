#include "calibrate/calibrate_command.h"

#include "calibrate/calibration_table.h"
#include "calibrate/calibration_target.h"
#include "calibrate/output_ranges.h"
#include "calibrate/uncalibrated_network.h"
#include "config/model_factory.h"
#include "console/text.h"
#include "network/back_end_choice.h"
#include "network/calibration_rules.h"
#include "run_options.h"
#include "sources/picture_loop.h"

#include <memory>
#include <string>
#include <vector>

namespace brellix::app {
namespace {

using ai_orvo::alg::common::Calibration;

struct CalibrateOptions {
    RunOptions run;
    std::string outFile;  ///< empty for the file beside the network
    bool force = false;
};

constexpr const char* kExamples =
    "Examples:\n"
    "  brellix calibrate shapes_cut.yaml pictures/\n"
    "  brellix calibrate shapes_cut.yaml 'cam?/*.png' --force\n"
    "\n"
    "The file goes beside the network as NETWORK.onnx.calibration.yaml, where the engine finds it.\n"
    "A hundred pictures like those that the model will see are enough.\n"
    "Exit status: 0 done, 2 wrong use, bad configuration or missing input, 3 a failure at work.";

void addCalibrateOptions(CLI::App& command, CalibrateOptions& options) {
    command
        .add_option("-o,--out", options.outFile, "Write this file (default: NETWORK.onnx.calibration.yaml)")
        ->type_name("FILE");
    command.add_flag("-f,--force", options.force, "Replace a file that exists");
}

void requireClassWithCalibration(const ModelConfig& config, Console& console) {
    if (!traitsOf(config.modelClass).takesCalibration) {
        throw wrongUse(config.path + ": the model class " + nameOf(config.modelClass) +
                       " reads its outputs as float32, never as 8 bits: there is nothing to calibrate");
    }
    if (traitsOf(config.modelClass).readsBackEndKeys && !config.isQuantized) {
        console.note(config.path +
                     " says is_quantized: false; the calibration works where a configuration says true");
    }
}

CalibrationTarget makeTarget(const CalibrateOptions& options, const ModelConfig& config,
                             const std::vector<std::string>& sources) {
    if (options.outFile == "-") {
        throw wrongUse("--out: write to a file; standard output is for the table");
    }
    const std::string path =
        options.outFile.empty() ? ai_orvo::alg::common::calibrationPath(config.networkPath) : options.outFile;
    ProtectedFiles files;
    files.addInputs({config.path, config.networkPath});
    files.addInputs(sources);
    files.refuse("--out", path);
    return {path, options.force};
}

/// \param failed receives how many pictures could not be used.
Calibration measure(ModelConfig config, const std::vector<std::string>& sources, Console& console,
                    std::size_t& failed) {
    const UncalibratedNetwork network(config.networkPath);
    config.networkPath = network.path();
    const auto model = buildModel(config);
    OutputRanges outputs(*model, config.inputSize);
    failed =
        overPictures(sources, config.inputSize, console,
                     [&](const std::string& /*source*/, const cv::Mat& picture) { outputs.add(picture); });
    Calibration calibration;
    for (const auto& [name, range] : outputs.ranges()) {
        calibration[name] = calibratedTensor(config.modelClass, name, range);
    }
    return calibration;
}

ExitStatus calibrate(const CalibrateOptions& options, OwnOutput& output, Console& console) {
    applyVerbosity(options.run.verbosity, output, console);
    const ModelConfig config = loadConfig(options.run.model, console);
    requireClassWithCalibration(config, console);
    if (chosenBackEnd() == BackEnd::kUnknown) {
        console.warning("another engine stands in place of ours, which alone is known to read calibrations");
    }
    const std::vector<std::string> sources = loadInputs(options.run.input, console);
    const CalibrationTarget target = makeTarget(options, config, sources);
    std::size_t failed = 0;
    const Calibration calibration = measure(config, sources, console, failed);
    if (calibration.empty()) {
        throw failedAtWork("no picture could be used, so " + target.path() + " is not written");
    }
    target.write(calibration);
    if (!options.run.verbosity.quiet) {
        output.sink().write(calibrationTable(calibration) + '\n' +
                            counted(sources.size() - failed, "picture") +
                            (failed > 0 ? ", " + counted(failed, "picture") + " failed" : "") +
                            "; written to " + target.path() + '\n');
        output.sink().close();
    }
    return failed == 0 ? ExitStatus::kDone : ExitStatus::kFailedAtWork;
}

}  // namespace

Subcommand addCalibrateCommand(CLI::App& app) {
    const auto options = std::make_shared<CalibrateOptions>();
    options->run.model.usesCalibration = false;
    CLI::App* const command =
        app.add_subcommand("calibrate", "Measure the ranges of a network's outputs for 8-bit inference");
    command->footer(kExamples);
    addModelOptions(*command, options->run.model);
    addInputOptions(*command, options->run.input);
    addVerbosityOptions(*command, options->run.verbosity);
    addCalibrateOptions(*command, *options);
    return {command,
            [options](OwnOutput& output, Console& console) { return calibrate(*options, output, console); }};
}

}  // namespace brellix::app
