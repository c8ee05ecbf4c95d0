#include "detect_fixture.h"

#include "sources/standard_input.h"

#include <opencv2/videoio.hpp>

#include <csignal>

namespace brellix::testing {
namespace {

using nlohmann::json;
using Names = std::vector<std::string>;

class DetectStream : public DetectTest {
  protected:
    std::vector<std::string> command(std::vector<std::string> more = {}) const {
        more.insert(more.begin(), {"detect", "model.yaml", "-", "--json", "-"});
        return more;
    }
};

TEST_F(DetectStream, JpegsAreFramesOfStandardInput) {
    const ProgramResult result = runWithInput(jpegOfLevel(50) + jpegOfLevel(200, {128, 128}), command());
    EXPECT_EQ(result.status, 0) << result.err;
    const std::vector<json> lines = jsonLines(result.out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0]["source"], "standard input");
    EXPECT_EQ(lines[0]["frame"], 0);
    EXPECT_FALSE(lines[0].contains("time_ms"));
    EXPECT_EQ(lines[1]["frame"], 1);
    EXPECT_EQ(lines[1]["width"], 128);
    EXPECT_EQ(lines[1]["objects"][0]["box"], json({44, 38, 40, 20}));
}

TEST_F(DetectStream, StreamOfANetworkCameraIsRead) {
    const std::string head = "\r\n--frame\r\nContent-Type: image/jpeg\r\n\r\n";
    const ProgramResult result =
        runWithInput(head + jpegOfLevel(50) + head + jpegOfLevel(60) + "\r\n--frame--", command());
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(jsonLines(result.out).size(), 2U);
}

TEST_F(DetectStream, StreamOfANetworkCameraMayBeginWithTheHeaderOfItsAnswer) {
    const std::string head = "--frame\r\nContent-Type: image/jpeg\r\n\r\n";
    for (const char* answer :
         {"HTTP/1.1 200 OK\r\nServer: camera\r\nContent-Type: multipart/x-mixed-replace;",
          "Content-Type: multipart/x-mixed-replace;", "content-length: 1000\r\n"}) {
        RunningProgram program(command(), path(""));
        program.write(answer);
        program.write(" boundary=frame\r\n\r\n" + head + jpegOfLevel(50));
        EXPECT_EQ(json::parse(program.nextLine())["frame"], 0);
        program.write("\r\n" + head + jpegOfLevel(60) + "\r\n--frame--");
        EXPECT_EQ(json::parse(program.nextLine())["frame"], 1);
        const ProgramResult result = program.finish();
        EXPECT_EQ(result.status, 0) << result.err;
    }
}

TEST_F(DetectStream, TextBeforeTheFirstFrameNeedsNoForm) {
    const ProgramResult result = runWithInput("camera 7\n\nready\n" + jpegOfLevel(50), command());
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(jsonLines(result.out).size(), 1U);
}

TEST_F(DetectStream, PictureFileOfAnotherFormIsRefusedInOneLine) {
    cv::Mat noise(300, 300, CV_8UC3);
    cv::RNG(7).fill(noise, cv::RNG::UNIFORM, 0, 256);
    writeMat("noise.png", noise);
    writeMat("noise.bmp", noise);
    const std::string expected = "expected JPEGs one after another, or paths of pictures, one a line";
    for (const auto& [file, begin] :
         {std::pair("noise.png", "begins as a PNG file does, "),
          std::pair("noise.bmp", "ended without a picture: no JPEG begins in it, ")}) {
        const ProgramResult result = runWithInput(readText(file), command());
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err,
                  "brellix: standard input: " + (begin + expected) + "\nbrellix: 1 of 1 frame failed\n");
    }
}

TEST_F(DetectStream, FolderAsStandardInputIsReportedOnce) {
    ProgramSetup setup;
    setup.workingDirectory = path("");
    setup.standardInputPath = path("");
    const ProgramResult result = runProgram(command(), setup);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err,
              "brellix: standard input: cannot be read: Is a directory\nbrellix: 1 of 1 frame failed\n");
}

TEST_F(DetectStream, LineWithANulByteEndsTheList) {
    writePicture("a.png");
    RunningProgram program(command(), path(""));
    program.write("a.png\n");
    EXPECT_EQ(json::parse(program.nextLine())["source"], "a.png");
    program.write(std::string("a.png\0\n", 7) + "a.png\n");
    const ProgramResult result = program.finish();
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(
        result.err,
        "brellix: standard input: a line holds a NUL byte, which no path does, expected JPEGs one after "
        "another, or paths of pictures, one a line; the rest is not read\nbrellix: 1 of 2 frames failed\n");
}

TEST_F(DetectStream, CutOffLastFrameIsReported) {
    const std::string jpeg = jpegOfLevel(50);
    const ProgramResult result = runWithInput(jpeg + jpeg.substr(0, jpeg.size() - 20), command());
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(jsonLines(result.out).size(), 1U);
    EXPECT_NE(result.err.find("brellix: standard input: the last frame is cut off\n"), std::string::npos)
        << result.err;
}

TEST_F(DetectStream, DamagedFrameKeepsItsNumber) {
    const std::string jpeg = jpegOfLevel(50);
    const ProgramResult result =
        runWithInput(jpeg + jpeg.substr(0, jpeg.size() - 20) + jpeg, command({"--out", "seen"}));
    EXPECT_EQ(result.status, 3);
    const std::vector<json> lines = jsonLines(result.out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1]["frame"], 2);
    EXPECT_NE(result.err.find("standard input: frame 1 is cut off"), std::string::npos) << result.err;
    EXPECT_DOUBLE_EQ(cv::VideoCapture(path("seen/standard-input.avi")).get(cv::CAP_PROP_FRAME_COUNT), 2.0);
}

TEST_F(DetectStream, FramesOfAnotherSizeBeginAnotherVideo) {
    const std::string small = jpegOfLevel(50);
    const std::string large = jpegOfLevel(50, {128, 96});
    ASSERT_EQ(runWithInput(small + large + large, command({"--out", "seen", "-q"})).status, 0);
    EXPECT_DOUBLE_EQ(cv::VideoCapture(path("seen/standard-input.avi")).get(cv::CAP_PROP_FRAME_COUNT), 1.0);
    cv::VideoCapture second(path("seen/standard-input-2.avi"));
    EXPECT_DOUBLE_EQ(second.get(cv::CAP_PROP_FRAME_COUNT), 2.0);
    EXPECT_DOUBLE_EQ(second.get(cv::CAP_PROP_FRAME_WIDTH), 128.0);
}

TEST_F(DetectStream, PathsArePicturesInTheirOrder) {
    writePicture("b.png");
    writePicture("with blank.png");
    const ProgramResult result = runWithInput("b.png\r\n\nwith blank.png\nb.png", command());
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(sources(result.out), (Names{"b.png", "with blank.png", "b.png"}));
}

TEST_F(DetectStream, PathWithoutAPictureIsReported) {
    writePicture("b.png");
    const ProgramResult result =
        runWithInput("none.png\nb.png\n" + std::string(100000, 'x') + "\nb.png\n", command());
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(sources(result.out), (Names{"b.png", "b.png"}));
    EXPECT_NE(result.err.find("brellix: none.png: No such file"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("xxx: File name too long"), std::string::npos);
    EXPECT_NE(result.err.find("2 of 4 frames failed"), std::string::npos);
}

TEST_F(DetectStream, AnnotatedCopyOfAListedPictureNeverOverwritesIt) {
    writePicture("a.png");
    const std::string before = readText("a.png");
    const ProgramResult result = runWithInput("a.png\n", command({"--out", "."}));
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("a.png is one of the inputs"), std::string::npos) << result.err;
    EXPECT_EQ(readText("a.png"), before);
}

TEST_F(DetectStream, ListedPicturesOfOneNameDoNotOverwriteEachOther) {
    makeFolder("a");
    makeFolder("b");
    writePicture("a/x.png", {64, 64});
    writePicture("b/x.png", {32, 96});
    ASSERT_EQ(runWithInput("a/x.png\nb/x.png\n", command({"--out", "seen", "-q"})).status, 0);
    EXPECT_EQ(readPicture("seen/x.png").size(), cv::Size(64, 64));
    EXPECT_EQ(readPicture("seen/x-2.png").size(), cv::Size(32, 96));
}

TEST_F(DetectStream, NothingAtAllIsReported) {
    for (const char* input : {"", "\n\r\n"}) {
        const ProgramResult result = runWithInput(input, command());
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find("brellix: standard input: ended without a picture"), std::string::npos)
            << result.err;
    }
    const ProgramResult result = runWithInput("--frame\r\nnothing more", command());
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("no JPEG begins in it"), std::string::npos) << result.err;
}

TEST_F(DetectStream, CanBeOneInputAmongOthers) {
    writePicture("a.png");
    writePicture("b.png");
    const ProgramResult result =
        runWithInput("b.png\n", {"detect", "model.yaml", "a.png", "-", "--json", "-"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(sources(result.out), (Names{"a.png", "b.png"}));
}

TEST_F(DetectStream, IsReadOnlyOnce) {
    const ProgramResult result = runWithInput("", {"detect", "model.yaml", "-", "-"});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("input -: standard input can be read only once"), std::string::npos)
        << result.err;
}

TEST_F(DetectStream, PictureIsProcessedAsSoonAsItsLineIsThere) {
    writePicture("a.png");
    writePicture("b.png");
    RunningProgram program(command(), path(""));
    program.write("a.p");
    program.write("ng\n");
    EXPECT_EQ(json::parse(program.nextLine())["source"], "a.png");
    program.write("b.png\n");
    EXPECT_EQ(json::parse(program.nextLine())["source"], "b.png");
    const ProgramResult result = program.finish();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "");
}

TEST_F(DetectStream, FrameIsProcessedAsSoonAsItIsWhole) {
    RunningProgram program(command(), path(""));
    program.write(jpegOfLevel(50));
    EXPECT_EQ(json::parse(program.nextLine())["frame"], 0);
    program.write(jpegOfLevel(60));
    EXPECT_EQ(json::parse(program.nextLine())["frame"], 1);
    EXPECT_EQ(program.finish().status, 0);
}

TEST_F(DetectStream, LimitEndsWhileMoreCouldCome) {
    RunningProgram program(command({"--limit", "1"}), path(""));
    program.write(jpegOfLevel(50));
    const ProgramResult result = program.waitForEnd();
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(jsonLines(result.out).size(), 1U);
}

class StoppedRun : public DetectStream {};

TEST_F(StoppedRun, EndsWhileItWaitsForInputWithAllResultsWritten) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        RunningProgram program(command({"--out", "seen"}), path(""));
        program.write(jpegOfLevel(50) + jpegOfLevel(60) + jpegOfLevel(70).substr(0, 200));
        EXPECT_EQ(json::parse(program.nextLine())["frame"], 0);
        EXPECT_EQ(json::parse(program.nextLine())["frame"], 1);
        program.signal(signal);
        const ProgramResult result = program.waitForEnd();
        EXPECT_EQ(result.status, 128 + signal);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(" after 2 frames\n"), std::string::npos) << result.err;
        EXPECT_EQ(result.err.find("cut off"), std::string::npos) << result.err;
        EXPECT_DOUBLE_EQ(cv::VideoCapture(path("seen/standard-input.avi")).get(cv::CAP_PROP_FRAME_COUNT),
                         2.0);
    }
}

TEST_F(StoppedRun, WritesTheTablesSummary) {
    writePicture("a.png");
    RunningProgram program({"detect", "model.yaml", "-"}, path(""));
    program.write("a.png\n");
    for (const char* begin : {"picture", "a.png", "a.png"}) {
        EXPECT_EQ(program.nextLine().find(begin), 0U);
    }
    program.signal(SIGINT);
    const ProgramResult result = program.waitForEnd();
    EXPECT_EQ(result.status, 128 + SIGINT);
    EXPECT_EQ(result.out.find("\n1 frame, 2 objects; mean times"), 0U) << result.out;
    EXPECT_EQ(result.err, "brellix: stopped by SIGINT after 1 frame\n");
}

TEST_F(StoppedRun, CompletesTheVideoThoughItsReaderIsGone) {
    // More lines than the pipe takes while nobody reads.
    writeVideo("clip.avi", 2000);
    RunningProgram program({"detect", "model.yaml", "clip.avi", "--json", "-", "--out", "seen"}, path(""));
    program.waitUntilOutputIsFull();
    // As Ctrl-C does in a pipeline: the signal comes, and the reader is gone.
    program.signal(SIGINT);
    program.stopReading();
    const ProgramResult result = program.waitForEnd();
    EXPECT_EQ(result.status, 128 + SIGINT) << result.err;
    EXPECT_NE(result.err.find("stopped by SIGINT after "), std::string::npos) << result.err;
    EXPECT_GT(cv::VideoCapture(path("seen/clip.avi")).get(cv::CAP_PROP_FRAME_COUNT), 100.0);
}

TEST_F(StoppedRun, EndsInTheMiddleOfAVideo) {
    writeVideo("clip.avi", 2000, {320, 240});
    RunningProgram program({"detect", "model.yaml", "clip.avi", "--json", "-", "--out", "seen"}, path(""));
    const json first = json::parse(program.nextLine());
    program.signal(SIGINT);
    const ProgramResult result = program.waitForEnd();
    EXPECT_EQ(result.status, 128 + SIGINT) << result.err;
    const std::size_t frames = 1 + jsonLines(result.out).size();
    EXPECT_LT(frames, 2000U);
    EXPECT_DOUBLE_EQ(cv::VideoCapture(path("seen/clip.avi")).get(cv::CAP_PROP_FRAME_COUNT),
                     static_cast<double>(frames));
    EXPECT_NE(result.err.find("stopped by SIGINT after " + std::to_string(frames) + " frame"),
              std::string::npos)
        << result.err;
}

TEST(StreamKind, IsToldByWhatHasArrivedToo) {
    using app::StreamKind;
    using app::streamKindOf;
    EXPECT_EQ(streamKindOf("ready\n\xFF\xD8\xFF", false), StreamKind::kJpegs);
    EXPECT_EQ(streamKindOf(std::string_view("P6\n2\0", 5), false), StreamKind::kJpegs);
    EXPECT_EQ(streamKindOf("ready\n", false), StreamKind::kPaths);
}

TEST(StreamKind, IsToldByTheFirstLine) {
    using app::StreamKind;
    using app::streamKindOf;
    EXPECT_EQ(streamKindOf("\xFF\xD8\xFF\xE0", false), StreamKind::kJpegs);
    EXPECT_EQ(streamKindOf("garbage \xFF\xD8\xFF\xE0", false), StreamKind::kJpegs);
    EXPECT_EQ(streamKindOf(std::string_view("a\0b\n", 4), false), StreamKind::kJpegs);
    EXPECT_EQ(streamKindOf("--frame", false), StreamKind::kJpegs);
    EXPECT_EQ(streamKindOf("\r\n--frame\r\n", false), StreamKind::kJpegs);
    EXPECT_EQ(streamKindOf(std::string(5000, 'x'), false), StreamKind::kJpegs);
    EXPECT_EQ(streamKindOf("HTTP/1", false), StreamKind::kJpegs);
    EXPECT_EQ(streamKindOf("\r\nHTTP/2 200\r\n", false), StreamKind::kJpegs);
    EXPECT_EQ(streamKindOf("content-type: image/jpeg\r\n", false), StreamKind::kJpegs);
    EXPECT_EQ(streamKindOf("\x89PNG\r\n", false), StreamKind::kPng);
    EXPECT_EQ(streamKindOf("HTTP/a.png\n", false), StreamKind::kPaths);
    EXPECT_EQ(streamKindOf("Content-aware.png\n", false), StreamKind::kPaths);
    EXPECT_EQ(streamKindOf("\x89PN", false), std::nullopt);
    EXPECT_EQ(streamKindOf("Content-", false), std::nullopt);
    EXPECT_EQ(streamKindOf("a.png", false), std::nullopt);
    EXPECT_EQ(streamKindOf("a.png", true), StreamKind::kPaths);
    EXPECT_EQ(streamKindOf("", false), std::nullopt);
    EXPECT_EQ(streamKindOf("", true), StreamKind::kPaths);
}

}  // namespace
}  // namespace brellix::testing
