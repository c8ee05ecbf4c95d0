#include "command_line.h"

#include "bench/bench_command.h"
#include "calibrate/calibrate_command.h"
#include "check/check_command.h"
#include "compare/compare_command.h"
#include "console/text.h"
#include "detect/detect_command.h"
#include "eval/eval_command.h"
#include "init/init_command.h"
#include "option_values.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace brellix::app {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  brellix init shapes_cut.onnx\n"
    "  brellix check shapes_cut.yaml\n"
    "  brellix detect shapes.yaml photo.jpg\n"
    "  brellix detect shapes.yaml pictures/ --out annotated --json results.jsonl\n"
    "  brellix detect shapes.yaml clip.mp4 --out annotated\n"
    "  brellix calibrate shapes_cut.yaml pictures/\n"
    "  brellix eval shapes.yaml truth.json\n"
    "  brellix compare float.yaml int8.yaml pictures/\n"
    "  brellix bench shapes.yaml photo.jpg\n"
    "\n"
    "brellix COMMAND --help tells more about a command.\n"
    "Exit status: 0 done, 1 the answer is no (check, init, compare), 2 wrong use or bad input,\n"
    "3 a failure at work.";

/// The arguments in CLI11's order, the last one first. An argument like "[a,b]" would be taken apart as a
/// list of two; here it is hardly ever anything but a relative path, which "./[a,b]" is too.
std::vector<std::string> argumentsFrom(int argc, const char* const* argv) {
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    for (std::string& argument : arguments) {
        if (!argument.empty() && argument.front() == '[' && argument.back() == ']') {
            argument.insert(0, "./");
        }
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

/// Help and version go to standard output, a mistake to standard error; each mistake has the same status.
ExitStatus answer(const CLI::App& app, const CLI::ParseError& error, OwnOutput& output) {
    std::ostringstream asked;
    std::ostringstream mistake;
    const bool isMistake = app.exit(error, asked, mistake) != 0;
    if (isMistake) {
        std::string text = mistake.str();
        text.erase(text.find_last_not_of('\n') + 1);
        std::replace(text.begin(), text.end(), '\n', ' ');
        throw wrongUse(text);
    }
    output.sink().write(asked.str());
    return ExitStatus::kDone;
}

std::string mistakeText(const CLI::App* app, const CLI::Error& error) {
    const std::vector<CLI::App*> chosen = app->get_subcommands();
    const std::string command = chosen.empty() ? "" : chosen.front()->get_name() + ' ';
    return std::string(error.what()) + "; brellix " + command + "--help tells more";
}

/// CLI11 itself would list all arguments, the last one first.
void refuseUnknownCommand(const CLI::App& app, int argc, const char* const* argv) {
    const std::string word = argc > 1 ? argv[1] : "-";
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(command->get_name());
    }
    if (word.rfind('-', 0) == 0 || std::find(names.begin(), names.end(), word) != names.end()) {
        return;
    }
    throw wrongUse("there is no command \"" + word + "\", expected one of: " + joined(names) +
                   "; brellix --help tells more");
}

void describeProgram(CLI::App& app) {
    app.name("brellix");
    app.set_version_flag("--version", "brellix " BRELLIX_VERSION);
    app.require_subcommand(0, 1);
    app.failure_message(&mistakeText);
    app.footer(kExamples);
    app.get_formatter()->column_width(34);
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
}

}  // namespace

ExitStatus runCommandLine(int argc, const char* const* argv, OwnOutput& output, Console& console) {
    CLI::App app("Runs the models of the brellix model zoo on pictures and videos.");
    describeProgram(app);
    const std::vector<Subcommand> subcommands = {
        addInitCommand(app), addCheckCommand(app),   addDetectCommand(app), addCalibrateCommand(app),
        addEvalCommand(app), addCompareCommand(app), addBenchCommand(app)};
    for (const Subcommand& command : subcommands) {
        refuseEmptyValues(*command.options);
    }
    refuseEmptyAssignments({argv + std::min(argc, 1), argv + argc});
    refuseUnknownCommand(app, argc, argv);
    try {
        app.parse(argumentsFrom(argc, argv));
    } catch (const CLI::ParseError& error) {
        return answer(app, error, output);
    }
    const auto chosen = std::find_if(subcommands.begin(), subcommands.end(),
                                     [](const Subcommand& command) { return command.options->parsed(); });
    if (chosen == subcommands.end()) {
        output.sink().write(app.help());
        return ExitStatus::kWrongUse;
    }
    return chosen->run(output, console);
}

}  // namespace brellix::app
