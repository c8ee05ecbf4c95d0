#include "check/check_command.h"

#include "check/check_json.h"
#include "check/check_table.h"
#include "check/complete_check.h"
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

ExitStatus check(const CheckOptions& options, OwnOutput& output) {
    const CheckReport report = checkCompletely(options.model, options.namesFile);
    if (!options.quiet) {
        output.sink().write(options.json ? checkJson(report) : checkTable(report));
        output.sink().close();
    }
    return report.fits() ? ExitStatus::kDone : ExitStatus::kAnswerIsNo;
}

}  // namespace

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
