#include "sources/progress.h"
#include "detect_fixture.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace brellix::testing {
namespace {

TEST(Progress, SaysCountRateAndTimeLeft) {
    EXPECT_EQ(app::progressText(10, 30, "picture", 5.0), "10/30 pictures, 2.0 a second, 10 s left");
    EXPECT_EQ(app::progressText(1, 1000, "frame", 1.0), "1/1000 frames, 1.0 a second, 16 min 39 s left");
    EXPECT_EQ(app::progressText(1, 7201, "frame", 1.0), "1/7201 frames, 1.0 a second, 2 h 0 min left");
}

TEST(Progress, SaysNoRateBeforeThereIsOne) {
    EXPECT_EQ(app::progressText(0, 1, "picture", 0.0), "0/1 picture");
    EXPECT_EQ(app::progressText(0, 2, "picture", 3.0), "0/2 pictures");
}

TEST(Progress, WithoutATotalSaysCountAndRate) {
    EXPECT_EQ(app::progressText(0, std::nullopt, "frame", 1.0), "0 frames");
    EXPECT_EQ(app::progressText(8, std::nullopt, "frame", 4.0), "8 frames, 2.0 a second");
}

TEST(Progress, MoreThanWasPromisedLeavesNoTime) {
    EXPECT_EQ(app::progressText(12, 10, "frame", 4.0), "12/10 frames, 3.0 a second, 0 s left");
}

TEST(Progress, BeginsAnewWithEachVideoAndNamesIt) {
    app::Progress progress;
    progress.advance();
    progress.advance();
    app::FrameId frame;
    frame.source = "b.png";
    progress.follow(frame);
    EXPECT_EQ(progress.text(9, 100).substr(0, 12), "2/9 pictures");
    EXPECT_EQ(progress.text(9, 3).substr(0, 12), "2/5 pictures");
    frame.source = "a.avi";
    frame.origin = app::FrameOrigin::kVideo;
    progress.follow(frame);
    EXPECT_EQ(progress.text(30, 100), "a.avi: 0/30 frames");
}

class ProgressLine : public DetectTest {
  protected:
    ProgressLine() {
        writePicture("a.png");
        writePicture("b.png");
    }

    void SetUp() override {
        DetectTest::SetUp();
        const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
        if (terminal < 0) {
            GTEST_SKIP() << "this machine gives no pseudo-terminal (is /dev/pts mounted?)";
        }
        close(terminal);
    }

    ProgramResult runOnTerminal(const std::vector<std::string>& arguments) const {
        ProgramSetup setup;
        setup.workingDirectory = path("");
        setup.standardErrorIsTerminal = true;
        return runProgram(arguments, setup);
    }
};

TEST_F(ProgressLine, AppearsOnATerminalAndIsErased) {
    const ProgramResult result = runOnTerminal({"detect", "model.yaml", "a.png", "b.png"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("0/2 pictures"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("1/2 pictures"), std::string::npos) << result.err;
    const std::string erase = "\r\033[K";
    ASSERT_GE(result.err.size(), erase.size());
    EXPECT_EQ(result.err.substr(result.err.size() - erase.size()), erase);
}

TEST_F(ProgressLine, NamesTheVideoAndItsFrames) {
    writeVideo("clip.avi", 3);
    const ProgramResult result = runOnTerminal({"detect", "model.yaml", "a.png", "clip.avi"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("0/1 picture"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("clip.avi: 1/3 frames, "), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("clip.avi: 3/3 frames, "), std::string::npos) << result.err;
}

TEST_F(ProgressLine, IsErasedBeforeAMessage) {
    writeText("b.png", "");
    const ProgramResult result = runOnTerminal({"detect", "model.yaml", "a.png", "b.png"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("\r\033[Kbrellix: b.png: the file is empty"), std::string::npos) << result.err;
}

TEST_F(ProgressLine, IsNotShownInAPipeOrWhenQuiet) {
    EXPECT_EQ(run({"detect", "model.yaml", "a.png", "b.png"}).err, "");
    EXPECT_EQ(runOnTerminal({"detect", "model.yaml", "a.png", "b.png", "--quiet"}).err, "");
}

}  // namespace
}  // namespace brellix::testing
