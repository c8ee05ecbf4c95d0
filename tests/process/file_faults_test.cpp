// Files that may grow no further, vanish, or must not be read; standard output that fails, for every command.

#include "file_size_limit.h"
#include "model_fixture.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace brellix::testing {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class FullFiles : public ModelTest {
  protected:
    /// A run in which a file holds a message, but no result.
    ProgramResult runInLittleSpace(const Names& arguments) const {
        const FileSizeLimit limit(150);
        return run(arguments);
    }

    void expectNoRoom(const Names& arguments, const std::string& file) const {
        const ProgramResult result = runInLittleSpace(arguments);
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.err, "brellix: cannot write to " + file + ": File too large\n");
    }
};

TEST_F(FullFiles, StandardOutputIsAFailure) {
    expectNoRoom({"detect", "model.yaml", "a.png", "--quiet", "--json", "-"}, "standard output");
}

TEST_F(FullFiles, JsonFileIsAFailureAndHoldsNoHalfLine) {
    expectNoRoom({"detect", "model.yaml", "a.png", "--quiet", "--json", "results.jsonl"}, "results.jsonl");
    EXPECT_EQ(readText("results.jsonl"), "");
}

TEST_F(FullFiles, AnnotatedPictureIsAFailureAndNoneIsLeft) {
    expectNoRoom({"detect", "model.yaml", "a.png", "--quiet", "--out", "seen"}, "seen/a.png");
    EXPECT_FALSE(exists("seen/a.png"));
}

TEST_F(FullFiles, AnnotatedVideoIsAFailure) {
    writeVideo("clip.avi", 5);
    const ProgramResult result =
        runInLittleSpace({"detect", "model.yaml", "clip.avi", "-q", "--out", "seen"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("seen/clip.avi is not complete"), std::string::npos) << result.err;
}

TEST_F(FullFiles, NewConfigurationIsAFailureAndNoneIsLeft) {
    expectNoRoom({"init", "network.onnx", "--out", "new.yaml"}, "new.yaml.unfinished");
    EXPECT_FALSE(exists("new.yaml"));
    EXPECT_FALSE(exists("new.yaml.unfinished"));
}

TEST_F(FullFiles, ConfigurationThatCannotBeReplacedStays) {
    const std::string before = readText("model.yaml");
    expectNoRoom({"init", "network.onnx", "--out", "model.yaml", "--force"}, "model.yaml.unfinished");
    EXPECT_EQ(readText("model.yaml"), before);
}

TEST_F(FullFiles, LinkedConfigurationIsWrittenThroughItsLink) {
    fs::create_symlink("kept.yaml", path("link.yaml"));
    const ProgramResult result = run({"init", "network.onnx", "--out", "link.yaml", "--force"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(fs::is_symlink(path("link.yaml")));
    EXPECT_NE(readText("kept.yaml"), "");
}

TEST_F(FullFiles, CalibrationIsAFailureAndNoneIsLeft) {
    const ProgramResult result = runInLittleSpace({"calibrate", "seg8.yaml", "a.png", "--quiet"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("seg.onnx.calibration.yaml"), std::string::npos) << result.err;
    EXPECT_FALSE(exists("seg.onnx.calibration.yaml"));
}

class FailingStandardOutput : public ModelTest,
                              public ::testing::WithParamInterface<std::pair<const char*, Names>> {};

TEST_P(FailingStandardOutput, IsAFailureWithItsCause) {
    const Names& arguments = GetParam().second;
    for (const auto& [output, cause] :
         {std::pair(StandardOutput::kFullDisk, "No space left on device"),
          std::pair(StandardOutput::kPipeWithoutReader, "its reader has closed it"),
          std::pair(StandardOutput::kClosed, "it is closed")}) {
        const ProgramResult result = runWith(output, arguments);
        EXPECT_EQ(result.status, 3);
        EXPECT_NE(result.err.find(std::string("brellix: cannot write to standard output: ") + cause),
                  std::string::npos)
            << result.err;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Commands, FailingStandardOutput,
    ::testing::Values(std::pair("Version", Names{"--version"}),
                      std::pair("Check", Names{"check", "model.yaml"}),
                      std::pair("CheckJson", Names{"check", "model.yaml", "--json"}),
                      std::pair("Init", Names{"init", "network.onnx", "--out", "-"}),
                      std::pair("Calibrate", Names{"calibrate", "seg8.yaml", "a.png", "--force"}),
                      std::pair("Compare", Names{"compare", "seg.yaml", "seg8.yaml", "a.png"}),
                      std::pair("Bench", Names{"bench", "model.yaml", "a.png"})),
    [](const auto& instance) { return std::string(instance.param.first); });

class VanishingFiles : public DetectTest {};

TEST_F(VanishingFiles, PictureThatGoesBeforeItsTurnIsReportedAndTheOthersGoOn) {
    for (const char* name : {"a.png", "b.png", "c.png"}) {
        writePicture(name);
    }
    // While the program waits for the list on standard input, the picture behind it disappears.
    RunningProgram program({"detect", "model.yaml", "a.png", "-", "b.png", "c.png", "--json", "-"},
                           path("."));
    EXPECT_EQ(jsonLines(program.nextLine()).at(0).at("source"), "a.png");
    fs::remove(path("b.png"));
    const ProgramResult result = program.finish();
    EXPECT_EQ(result.status, 3) << result.err;
    EXPECT_EQ(sources(result.out), (Names{"c.png"}));
    EXPECT_NE(result.err.find("brellix: b.png: "), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("No such file or directory"), std::string::npos) << result.err;
}

TEST_F(VanishingFiles, NetworkAndConfigurationAreNotNeededAnyMoreOnceTheRunHasBegun) {
    writePicture("a.png");
    writePicture("b.png");
    RunningProgram program({"detect", "model.yaml", "a.png", "-", "b.png", "--json", "-"}, path("."));
    EXPECT_EQ(jsonLines(program.nextLine()).at(0).at("source"), "a.png");
    fs::remove(path("network.onnx"));
    fs::remove(path("model.yaml"));
    const ProgramResult result = program.finish();
    EXPECT_EQ(result.status, 3) << "an empty list is reported: " << result.err;
    EXPECT_EQ(sources(result.out), (Names{"b.png"}));
}

TEST_F(VanishingFiles, LinksThatLeadNowhereAreReported) {
    fs::create_symlink("gone.png", path("dangling.png"));
    fs::create_symlink("loop.png", path("loop.png"));
    writePicture("a.png");
    for (const auto& [name, cause] : {std::pair("dangling.png", "no such file or folder"),
                                      std::pair("loop.png", "Too many levels of symbolic links")}) {
        const ProgramResult result = run({"detect", "model.yaml", name, "a.png", "--json", "-"});
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, std::string("brellix: input ") + name + ": " + cause + "\n");
    }
}

TEST_F(VanishingFiles, LinksThatLeadNowhereDoNotHoldTheirFolderUp) {
    makeFolder("shots/more");
    for (const char* name : {"dangling.png", "loop.png", "loop"}) {
        fs::create_symlink(name == std::string("dangling.png") ? "gone.png" : name,
                           path(std::string("shots/") + name));
    }
    writePicture("shots/a.png");
    writePicture("shots/more/b.png");
    const std::string warnings =
        "brellix: warning: cannot read shots/dangling.png: No such file or directory; passed over\n"
        "brellix: warning: cannot read shots/loop.png: Too many levels of symbolic links; passed over\n";
    const ProgramResult flat = run({"detect", "model.yaml", "shots", "--json", "-"});
    EXPECT_EQ(flat.status, 0);
    EXPECT_EQ(flat.err, warnings);
    EXPECT_EQ(sources(flat.out), (Names{"shots/a.png"}));
    const ProgramResult deep = run({"detect", "model.yaml", "shots", "--recursive", "--json", "-"});
    EXPECT_EQ(deep.status, 0);
    EXPECT_EQ(deep.err, warnings);
    EXPECT_EQ(sources(deep.out), (Names{"shots/a.png", "shots/more/b.png"}));
}

/// Takes root's right to read and write whatever it likes away from what this process starts from now on.
/// \return whether nobody has it then.
bool giveUpOverridingRights() {
    return geteuid() != 0 || (prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0) == 0 &&
                              prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0) == 0);
}

class UnreadableFiles : public ModelTest {
  protected:
    void expectDenied(const std::string& file, int status, const Names& arguments,
                      const std::string& named) const {
        if (!giveUpOverridingRights()) {
            GTEST_SKIP() << "root's rights cannot be given up here";
        }
        const mode_t before = fileMode(file);
        chmod(path(file).c_str(), 0);
        const ProgramResult result = run(arguments);
        chmod(path(file).c_str(), before);
        EXPECT_EQ(result.status, status) << result.err;
        EXPECT_NE(result.err.find(named), std::string::npos) << result.err;
        EXPECT_NE(result.err.find("Permission denied"), std::string::npos) << result.err;
    }

  private:
    mode_t fileMode(const std::string& file) const {
        struct stat status {};
        EXPECT_EQ(stat(path(file).c_str(), &status), 0);
        return status.st_mode & 07777U;
    }
};

TEST_F(UnreadableFiles, PictureIsReported) {
    expectDenied("a.png", 3, {"detect", "model.yaml", "a.png", "--json", "-"}, "a.png: ");
}

TEST_F(UnreadableFiles, ConfigurationIsRefused) {
    expectDenied("model.yaml", 2, {"detect", "model.yaml", "a.png"}, "model.yaml");
}

TEST_F(UnreadableFiles, NetworkIsRefused) {
    expectDenied("network.onnx", 2, {"detect", "model.yaml", "a.png"}, "network.onnx");
}

TEST_F(UnreadableFiles, NamesAreRefused) {
    writeText("names.txt", "disc\ncone\ncube\n");
    expectDenied("names.txt", 2, {"detect", "model.yaml", "a.png", "--names", "names.txt"}, "names.txt");
}

TEST_F(UnreadableFiles, SubfolderIsPassedOver) {
    makeFolder("shots/closed");
    writePicture("shots/a.png");
    writePicture("shots/closed/b.png");
    expectDenied("shots/closed", 0, {"detect", "model.yaml", "shots", "--recursive"},
                 "brellix: warning: cannot read the folder shots/closed: Permission denied; passed over\n");
}

TEST_F(UnreadableFiles, FolderThatIsAnInputIsRefused) {
    makeFolder("shots/closed");
    writePicture("shots/closed/b.png");
    expectDenied("shots", 2, {"detect", "model.yaml", "shots"}, "input shots: cannot read the folder: ");
}

TEST_F(UnreadableFiles, FolderOfResultsIsAFailure) {
    makeFolder("closed");
    expectDenied("closed", 3, {"detect", "model.yaml", "a.png", "--json", "closed/results.jsonl"},
                 "closed/results.jsonl");
}

}  // namespace
}  // namespace brellix::testing
