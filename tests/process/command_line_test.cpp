#include "detect_fixture.h"

#include <cstddef>
#include <regex>
#include <utility>

namespace brellix::testing {
namespace {

using CommandLine = DetectTest;

TEST_F(CommandLine, HelpGoesToStandardOutputWithExamples) {
    const ProgramResult result = run({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("Examples:"), std::string::npos);
    EXPECT_NE(result.out.find("detect"), std::string::npos);
    EXPECT_EQ(result.err, "");
}

TEST_F(CommandLine, HelpOfDetectNamesEveryOption) {
    const ProgramResult result = run({"detect", "--help"});
    EXPECT_EQ(result.status, 0);
    for (const char* option : {"CONFIG", "INPUT", "--recursive", "--names", "--model", "--out", "--json",
                               "--quiet", "--verbose", "--camera", "--every", "--limit", "--crops",
                               "--classes", "--mask-format", "Examples:", "Exit status:"}) {
        EXPECT_NE(result.out.find(option), std::string::npos) << option;
    }
    EXPECT_EQ(result.err, "");
}

TEST_F(CommandLine, VersionIsOneLine) {
    const ProgramResult result = run({"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "brellix " BRELLIX_VERSION "\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(CommandLine, AloneItShowsItsHelpAsAMistake) {
    const ProgramResult result = run({});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.out.find("detect"), std::string::npos);
}

struct Mistake {
    std::vector<std::string> arguments;
    std::string named;  ///< what the message has to name
};

TEST_F(CommandLine, MistakesAreNamedOnStandardErrorAlone) {
    writePicture("a.png");
    const std::vector<Mistake> mistakes = {
        {{"paint"}, "there is no command \"paint\", expected one of: init, check, detect, "},
        {{"detct", "model.yaml", "a.png"}, "there is no command \"detct\""},
        {{"--colour"}, "--colour"},
        {{"detect"}, "CONFIG"},
        {{"detect", "model.yaml"}, "INPUT"},
        {{"detect", "model.yaml", "a.png", "--colour"}, "--colour"},
        {{"detect", "model.yaml", "a.png", "--conf", "45%"}, "brellix detect --help tells more"},
        {{"detect", "model.yaml", "a.png", "--json"}, "--json"},
        {{"detect", "model.yaml", "a.png", "--out"}, "--out"},
        {{"detect", "model.yaml", "a.png", "--model", "yolov99"}, "yolov99"},
        {{"detect", "model.yaml", "a.png", "--quiet", "--verbose"}, "--quiet"},
        {{"detect", "model.yaml", "a.png", "--every", "0"}, "--every"},
        {{"detect", "model.yaml", "a.png", "--every", "-2"}, "from 1 to 999999999"},
        {{"detect", "model.yaml", "a.png", "--limit", "0"}, "--limit"},
        {{"detect", "model.yaml", "a.png", "--limit", "2.5"}, "from 1 to 999999999"},
        {{"detect", "model.yaml", "--camera", "-1"}, "--camera"},
        {{"detect", "model.yaml", "a.png", "--crops"}, "--crops"},
        {{"detect", "model.yaml", "a.png", "--classes"}, "--classes"},
    };
    for (const Mistake& mistake : mistakes) {
        const ProgramResult result = run(mistake.arguments);
        EXPECT_EQ(result.status, 2) << mistake.named;
        EXPECT_EQ(result.out, "") << mistake.named;
        EXPECT_NE(result.err.find(mistake.named), std::string::npos) << result.err;
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    }
}

/// The options that take a value, by subcommand, as the help tells them.
std::vector<std::pair<std::string, std::string>> optionsWithValue(const std::string& command,
                                                                  const std::string& help) {
    std::vector<std::pair<std::string, std::string>> options;
    const std::regex line(R"(\n  (?:-\w,)?(--[\w-]+) [A-Z]+(?![A-Za-z]))");
    for (std::sregex_iterator match(help.begin(), help.end(), line); match != std::sregex_iterator();
         ++match) {
        options.emplace_back(command, (*match)[1]);
    }
    return options;
}

TEST_F(CommandLine, NoOptionTakesAnEmptyValue) {
    std::size_t tried = 0;
    for (const char* command : {"init", "check", "detect", "calibrate", "eval", "compare", "bench"}) {
        for (const auto& [name, option] : optionsWithValue(command, run({command, "--help"}).out)) {
            const ProgramResult result = run({name, option, ""});
            const std::string words = option + ": the value is empty";
            EXPECT_EQ(result.status, 2) << name;
            EXPECT_NE(result.err.find(words), std::string::npos)
                << name << ' ' << words << ": " << result.err;
            ++tried;
        }
    }
    EXPECT_GE(tried, 48U);
}

TEST_F(CommandLine, NoArgumentIsEmpty) {
    EXPECT_NE(run({"detect", "", "a.png"}).err.find("CONFIG: the value is empty"), std::string::npos);
    EXPECT_NE(run({"detect", "model.yaml", ""}).err.find("INPUT: the value is empty"), std::string::npos);
    EXPECT_NE(run({"init", ""}).err.find("NETWORK: the value is empty"), std::string::npos);
    EXPECT_NE(run({"detect", "model.yaml", "a.png", "-o", ""}).err.find("--out: the value is empty"),
              std::string::npos);
}

TEST_F(CommandLine, AnEqualsSignWithNothingBehindItTakesNoInputInItsPlace) {
    writePicture("a.png");
    const ProgramResult mistake = run({"detect", "model.yaml", "a.png", "--json=", "a.png"});
    EXPECT_EQ(mistake.status, 2);
    EXPECT_NE(mistake.err.find("--json: the value is empty"), std::string::npos) << mistake.err;
    writeText("--json=", readText("a.png"));
    const ProgramResult file = run({"detect", "model.yaml", "--quiet", "--", "--json="});
    EXPECT_EQ(file.status, 0) << file.err;
}

TEST_F(CommandLine, ListOfClassesThatNamesNoneTakesNoInputInItsPlace) {
    writePicture("a.png");
    const ProgramResult none = run({"detect", "model.yaml", "--classes", ",,", "a.png"});
    EXPECT_EQ(none.status, 2);
    EXPECT_NE(none.err.find("--classes: \",,\" names no class"), std::string::npos) << none.err;
    const ProgramResult some =
        run({"detect", "model.yaml", "--classes", "disc,", "--classes", "0,cone", "a.png", "--json", "-"});
    EXPECT_EQ(some.status, 0) << some.err;
    EXPECT_EQ(jsonLines(some.out).at(0)["objects"].size(), 1U);
}

TEST_F(CommandLine, WholeNumbersAreDecimalAndWithinTheirLimits) {
    writePicture("a.png");
    writePicture("b.png");
    const std::vector<Mistake> mistakes = {
        {{"eval", "model.yaml", "truth.json", "--limit", "0"},
         "--limit: \"0\", expected a whole number from 1"},
        {{"bench", "model.yaml", "a.png", "--frames", "0"},
         "--frames: \"0\", expected a whole number from 1"},
        {{"bench", "model.yaml", "a.png", "--warm-up", "-1"},
         "--warm-up: \"-1\", expected a whole number from 0"},
        {{"detect", "model.yaml", "--camera", "0x1"}, "--camera: \"0x1\", expected a whole number from 0"},
        {{"detect", "model.yaml", "a.png", "--limit", "4294967297000"}, "from 1 to 999999999"},
    };
    for (const Mistake& mistake : mistakes) {
        const ProgramResult result = run(mistake.arguments);
        EXPECT_EQ(result.status, 2) << mistake.named;
        EXPECT_NE(result.err.find(mistake.named), std::string::npos) << result.err;
    }
    // Neither base eight nor a mistake.
    for (const char* number : {"01", "0000000000001"}) {
        const ProgramResult result = run(
            {"detect", "model.yaml", "a.png", "b.png", "--every", "08", "--limit", number, "--json", "-"});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(sources(result.out), std::vector<std::string>{"a.png"});
    }
}

TEST_F(CommandLine, ThresholdsAreNumbers) {
    for (const char* option : {"--conf", "--nms"}) {
        for (const char* value : {"nan", "inf", "1e999", "0.5x"}) {
            const ProgramResult result = run({"detect", option, value});
            EXPECT_EQ(result.status, 2);
            EXPECT_NE(result.err.find(std::string(option) + ": \"" + value + "\", expected a number"),
                      std::string::npos)
                << result.err;
        }
    }
}

}  // namespace
}  // namespace brellix::testing
