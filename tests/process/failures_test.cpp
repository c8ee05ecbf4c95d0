#include "detect_fixture.h"

#include <sys/stat.h>

namespace brellix::testing {
namespace {

using Names = std::vector<std::string>;

using BrokenPictures = DetectTest;
using FailingOutput = DetectTest;

TEST_F(BrokenPictures, AreReportedAndTheOthersGoOn) {
    makeFolder("shots");
    writePicture("shots/a.png");
    writeText("shots/b.png", "no picture at all");
    writeText("shots/c.jpg", "");
    writePicture("shots/d.png");
    const ProgramResult result = run({"detect", "model.yaml", "shots", "--json", "-"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(sources(result.out), (Names{"shots/a.png", "shots/d.png"}));
    EXPECT_NE(result.err.find("brellix: shots/b.png: not a picture"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("brellix: shots/c.jpg: the file is empty"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("2 of 4 pictures failed"), std::string::npos) << result.err;
}

TEST_F(BrokenPictures, TruncatedOneIsReported) {
    writePicture("a.png");
    const std::string whole = readText("a.png");
    writeText("a.png", whole.substr(0, whole.size() / 2));
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--json", "-"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("brellix: a.png: "), std::string::npos) << result.err;
}

TEST_F(BrokenPictures, TooThinOneIsReportedWithItsSize) {
    writePicture("thin.png", {2000, 1});
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "thin.png", "a.png", "--json", "-"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(sources(result.out), (Names{"a.png"}));
    EXPECT_NE(result.err.find("thin.png: at 2000 x 1 pixels too thin"), std::string::npos) << result.err;
}

TEST_F(BrokenPictures, DeviceIsNotRead) {
    const ProgramResult result = run({"detect", "model.yaml", "/dev/zero", "--json", "-"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("/dev/zero: not a regular file"), std::string::npos) << result.err;
}

TEST_F(BrokenPictures, PipesAndVideosInTheirPlaceAreSaid) {
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    const ProgramResult detect = run({"detect", "model.yaml", "pipe"});
    EXPECT_EQ(detect.status, 3);
    EXPECT_NE(detect.err.find("pipe: a pipe, expected a picture; detect reads JPEGs"), std::string::npos)
        << detect.err;
    writeText("clip.mp4", "not even that");
    const ProgramResult bench = run({"bench", "model.yaml", "clip.mp4"});
    EXPECT_NE(bench.err.find("clip.mp4: a video, expected a picture"), std::string::npos) << bench.err;
}

TEST_F(BrokenPictures, QuietStillReportsThem) {
    writeText("a.png", "");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--quiet"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "brellix: a.png: the file is empty\n");
}

TEST_F(FailingOutput, FullDiskBehindStandardOutputIsAFailure) {
    writePicture("a.png");
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"detect", "model.yaml", "a.png"},
          std::vector<std::string>{"detect", "model.yaml", "a.png", "--json", "-"},
          std::vector<std::string>{"--help"}}) {
        const ProgramResult result = runWith(StandardOutput::kFullDisk, arguments);
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.err, "brellix: cannot write to standard output: No space left on device\n");
    }
}

TEST_F(FailingOutput, ReaderThatGoesAwayIsAFailure) {
    writePicture("a.png");
    const ProgramResult result =
        runWith(StandardOutput::kPipeWithoutReader, {"detect", "model.yaml", "a.png", "--json", "-"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "brellix: cannot write to standard output: its reader has closed it\n");
}

TEST_F(FailingOutput, OtherResultsAreFinishedWithoutIt) {
    writeVideo("clip.avi", 3);
    const ProgramResult result =
        runWith(StandardOutput::kPipeWithoutReader,
                {"detect", "model.yaml", "clip.avi", "--json", "-", "--out", "seen", "--crops", "found"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err,
              "brellix: clip.avi: annotated video is seen/clip.avi\n"
              "brellix: cannot write to standard output: its reader has closed it\n"
              "brellix: 1 annotated video written to seen\n"
              "brellix: 2 crops written to found\n");
}

TEST_F(FailingOutput, ClosedStandardOutputIsAFailureOnlyWhereItIsNeeded) {
    writePicture("a.png");
    const ProgramResult table = runWith(StandardOutput::kClosed, {"detect", "model.yaml", "a.png"});
    EXPECT_EQ(table.status, 3);
    EXPECT_EQ(table.err, "brellix: cannot write to standard output: it is closed\n");
    const ProgramResult file = runWith(
        StandardOutput::kClosed, {"detect", "model.yaml", "a.png", "--quiet", "--json", "results.jsonl"});
    EXPECT_EQ(file.status, 0) << file.err;
    // Nothing that the library prints may end up in a file that took the place of standard output.
    EXPECT_EQ(jsonLines(readText("results.jsonl")).size(), 1U);
}

TEST_F(FailingOutput, FolderThatCannotBeCreatedIsAFailure) {
    writePicture("a.png");
    writeText("file", "in the way");
    for (const char* folder : {"file", "file/below"}) {
        const ProgramResult result = run({"detect", "model.yaml", "a.png", "--out", folder});
        EXPECT_EQ(result.status, 3) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(std::string("cannot create the folder ") + folder), std::string::npos)
            << result.err;
    }
}

TEST_F(FailingOutput, AnnotatedCopyThatCannotBeWrittenIsAFailure) {
    writePicture("a.png");
    makeFolder("seen/a.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--out", "seen"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("cannot write to seen/a.png: Is a directory"), std::string::npos) << result.err;
}

TEST_F(FailingOutput, FullDiskBehindTheJsonFileIsAFailure) {
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--quiet", "--json", "/dev/full"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "brellix: cannot write to /dev/full: No space left on device\n");
}

TEST_F(FailingOutput, JsonFileThatCannotBeCreatedIsAFailure) {
    writePicture("a.png");
    const ProgramResult result = run({"detect", "model.yaml", "a.png", "--json", "none/results.jsonl"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("cannot write to none/results.jsonl"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace brellix::testing
