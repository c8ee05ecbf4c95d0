#include "check/check_command.h"

#include "check/check_json.h"
#include "check/check_table.h"
#include "check/engine_trial.h"
#include "check/network_fit.h"
#include "config/class_list.h"
#include "console/text.h"
#include "network/back_end_choice.h"
#include "run_options.h"

#include <memory>
#include <string>

namespace brellix::app {
namespace {

struct CheckOptions {
    ModelRequest model;
    std::string namesFile;
    bool json = false;
    bool quiet = false;
};

constexpr const char* kExamples =
    "Examples:\n"
    "  brellix check shapes.yaml                 a table of what fits and what does not, with the fix\n"
    "  brellix check shapes.yaml --names shapes.names\n"
    "  brellix check shapes.yaml --json | jq .fits\n"
    "  brellix check shapes.yaml --quiet && brellix detect shapes.yaml photo.jpg\n"
    "\n"
    "Exit status: 0 it fits (warnings are allowed), 1 it does not, 2 wrong use, a missing file or a\n"
    "configuration that cannot be read, 3 a failure at work.";

void addCheckOptions(CLI::App& command, CheckOptions& options) {
    command
        .add_option("--names", options.namesFile,
                    "Class names, one a line (default: class_mapping of CONFIG)")
        ->type_name("FILE");
    CLI::Option* const json =
        command.add_flag("--json", options.json, "Write one JSON object in place of the table");
    command.add_flag("-q,--quiet", options.quiet, "No table: the exit status alone")->excludes(json);
}

void judgeNames(const CheckedConfig& checked, const std::string& namesFile, Findings& findings) {
    const ClassList classes(namesFile, checked.config.document);
    const bool isFromFile = !namesFile.empty();
    const std::string mismatch = classes.mismatchWith(checked.config.classNum);
    Finding finding{Severity::kOk,
                    isFromFile ? "names" : "class_mapping",
                    isFromFile ? namesFile : checked.config.path,
                    "",
                    "",
                    ""};
    if (!isFromFile && speakOf(findings, finding.what)) {
        return;
    }
    if (classes.count() == 0) {
        finding.severity = Severity::kNote;
        finding.found = "no names: classes are called by their number";
    } else if (mismatch.empty()) {
        finding.found = counted(classes.count(), "name");
    } else {
        finding.severity = Severity::kWarning;
        finding.found = mismatch;
        finding.expected = "a name for each class";
    }
    findings.push_back(finding);
}

/// What was found out without the engine is said in better words, so it is asked last. Of a network that is
/// compiled for a board only the board's own engine can be asked: ours would refuse what is right there.
void tryEngine(const CheckedConfig& checked, CheckReport& report) {
    const bool isOurs = chosenBackEnd() != BackEnd::kUnknown;
    if (!report.fits() || (isOurs && checked.network.format != NetworkFormat::kOnnx)) {
        return;
    }
    const std::string reason = reasonOfEngine(settingsOf(checked.config), checked.network.path);
    Finding finding{Severity::kOk, "engine", checked.network.path, "loads the network", "", ""};
    if (!reason.empty()) {
        finding.severity = Severity::kError;
        finding.found = "refuses the network: " + reason;
        finding.fix = isOurs ? exportFix(checked, recognise(checked.network))
                             : "name the network that was compiled for this engine in model_path";
    }
    report.findings.push_back(finding);
}

ExitStatus check(const CheckOptions& options, OwnOutput& output) {
    const CheckReport report = checkCompletely(options.model, options.namesFile);
    if (!options.quiet) {
        output.sink().write(options.json ? checkJson(report) : checkTable(report));
        output.sink().close();
    }
    return report.fits() ? ExitStatus::kDone : ExitStatus::kAnswerIsNo;
}

}  // namespace

CheckReport checkCompletely(const ModelRequest& request, const std::string& namesFile) {
    const CheckedConfig checked = checkModelConfig(request);
    CheckReport report = checkNetwork(checked, true);
    judgeNames(checked, namesFile, report.findings);
    tryEngine(checked, report);
    return report;
}

Subcommand addCheckCommand(CLI::App& app) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App* const command = app.add_subcommand("check", "Compare a configuration with its network");
    command->footer(kExamples);
    addModelOptions(*command, options->model);
    addThresholdOptions(*command, options->model);
    addCheckOptions(*command, *options);
    return {command, [options](OwnOutput& output, Console& /*console*/) { return check(*options, output); }};
}

}  // namespace brellix::app
