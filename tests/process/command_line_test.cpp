#include "detect_fixture.h"

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
        {{"paint"}, "paint"},
        {{"--colour"}, "--colour"},
        {{"detect"}, "CONFIG"},
        {{"detect", "model.yaml"}, "INPUT"},
        {{"detect", "model.yaml", "a.png", "--colour"}, "--colour"},
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

}  // namespace
}  // namespace brellix::testing
