#include "sources/frame_loop.h"

#include "console/failure.h"
#include "console/stop_request.h"
#include "files/broken_picture.h"
#include "sources/source_queue.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using namespace app;

/// What a source gives at one step.
enum class Step { kFrame, kBrokenFrame, kTrouble, kStop };
using Steps = std::vector<Step>;

/// A source that does what it is told, like a camera that vanishes. A stop request ends its waiting for a
/// frame.
class FakeSource : public FrameSource {
  public:
    FakeSource(const std::string& name, Steps steps, FrameOrigin origin = FrameOrigin::kLive)
        : steps_(std::move(steps)) {
        id_.source = name;
        id_.origin = origin;
        id_.framesPerSecond = 30.0;
    }

    bool advance() override {
        if (next_ == steps_.size()) {
            return false;
        }
        id_.number = next_;
        const Step step = steps_[next_++];
        if (step == Step::kTrouble) {
            throw BrokenPicture("the camera has gone");
        }
        if (step == Step::kStop) {
            std::raise(SIGTERM);
        }
        return step != Step::kStop;
    }

    FrameId id() const override { return id_; }

    cv::Mat read() override {
        if (steps_[id_.number] == Step::kBrokenFrame) {
            throw BrokenPicture("cannot be decoded");
        }
        return {8, 8, CV_8UC3, cv::Scalar::all(static_cast<double>(id_.number))};
    }

    std::optional<std::size_t> frameCount() const override { return steps_.size(); }

  private:
    Steps steps_;
    std::size_t next_ = 0;
    FrameId id_;
};

constexpr std::size_t kNoLimit = 1000;

class FramesInALoop : public ::testing::Test {
  protected:
    LoopOutcome run(FrameSource& source, std::size_t limit = kNoLimit) {
        Console console;
        ::testing::internal::CaptureStderr();
        const LoopOutcome outcome = overFrames(
            source, {64, 64}, console, [&](const Frame& frame) { task(frame); }, limit);
        messages_ = ::testing::internal::GetCapturedStderr();
        return outcome;
    }

    virtual void task(const Frame& frame) { seen_.push_back(displayName(frame.id)); }

    std::vector<std::string> seen_;
    std::string messages_;
};

using Names = std::vector<std::string>;

TEST_F(FramesInALoop, CameraThatVanishesIsReportedAndEndsTheRun) {
    FakeSource source("camera 0", {Step::kFrame, Step::kFrame, Step::kTrouble});
    const LoopOutcome outcome = run(source);
    EXPECT_EQ(outcome.done, 2U);
    EXPECT_EQ(outcome.failed, 1U);
    EXPECT_FALSE(outcome.isStopped);
    EXPECT_EQ(seen_, (Names{"camera 0 #0", "camera 0 #1"}));
    EXPECT_EQ(messages_, "brellix: camera 0: the camera has gone\n");
}

TEST_F(FramesInALoop, BrokenFrameIsReportedAndPassedOver) {
    FakeSource source("a.avi", {Step::kFrame, Step::kBrokenFrame, Step::kFrame});
    const LoopOutcome outcome = run(source);
    EXPECT_EQ(outcome.done, 2U);
    EXPECT_EQ(outcome.failed, 1U);
    EXPECT_EQ(messages_, "brellix: a.avi #1: cannot be decoded\n");
}

TEST_F(FramesInALoop, LimitCountsFramesThatAreDone) {
    FakeSource source("a.avi", {Step::kFrame, Step::kBrokenFrame, Step::kFrame, Step::kFrame});
    EXPECT_EQ(run(source, 2).done, 2U);
    EXPECT_EQ(seen_, (Names{"a.avi #0", "a.avi #2"}));
}

TEST_F(FramesInALoop, EachSourceGivesItsFirstAndThenEveryNth) {
    std::vector<std::unique_ptr<FrameSource>> sources;
    sources.push_back(std::make_unique<FakeSource>("a", Steps(4, Step::kFrame)));
    sources.push_back(std::make_unique<FakeSource>("b", Steps(3, Step::kFrame)));
    SourceQueue queue(std::move(sources), 3);
    EXPECT_EQ(queue.frameCount(), 2U);
    EXPECT_DOUBLE_EQ(queue.id().framesPerSecond, 10.0);
    EXPECT_EQ(run(queue).done, 3U);
    EXPECT_EQ(seen_, (Names{"a #0", "a #3", "b #0"}));
    EXPECT_EQ(queue.frameCount(), 1U);
}

TEST_F(FramesInALoop, TroubleOfOneSourceLeavesTheNext) {
    std::vector<std::unique_ptr<FrameSource>> sources;
    sources.push_back(std::make_unique<FakeSource>("a", Steps{Step::kTrouble}));
    sources.push_back(std::make_unique<FakeSource>("b", Steps{Step::kFrame}));
    SourceQueue queue(std::move(sources), 1);
    EXPECT_EQ(run(queue).failed, 1U);
    EXPECT_EQ(seen_, Names{"b #0"});
}

Steps operator+(Steps first, const Steps& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST_F(FramesInALoop, CameraWhoseFramesFailOneAfterAnotherEndsTheRun) {
    FakeSource source("camera 0", Steps(1, Step::kFrame) + Steps(200, Step::kBrokenFrame));
    const LoopOutcome outcome = run(source);
    EXPECT_EQ(outcome.done, 1U);
    EXPECT_EQ(outcome.failed, 100U);
    EXPECT_FALSE(outcome.isStopped);
    const std::string end =
        "brellix: camera 0 #100: cannot be decoded\nbrellix: camera 0: 100 frames in a row failed\n";
    ASSERT_GE(messages_.size(), end.size());
    EXPECT_EQ(messages_.substr(messages_.size() - end.size()), end);
}

TEST_F(FramesInALoop, OneGoodFrameKeepsACameraGoing) {
    const Steps bad(99, Step::kBrokenFrame);
    const Steps good(1, Step::kFrame);
    FakeSource source("camera 0", bad + good + bad + good);
    const LoopOutcome outcome = run(source);
    EXPECT_EQ(outcome.done, 2U);
    EXPECT_EQ(outcome.failed, 198U);
}

TEST_F(FramesInALoop, VideoIsReadToItsEndWhateverFails) {
    FakeSource source("a.avi", Steps(200, Step::kBrokenFrame) + Steps(1, Step::kFrame), FrameOrigin::kVideo);
    const LoopOutcome outcome = run(source);
    EXPECT_EQ(outcome.done, 1U);
    EXPECT_EQ(outcome.failed, 200U);
}

class StoppedLoop : public FramesInALoop {
  protected:
    void task(const Frame& frame) override {
        FramesInALoop::task(frame);
        if (seen_.size() == 2) {
            std::raise(SIGTERM);
        }
    }

    const StopRequest stop_;
};

TEST_F(StoppedLoop, FinishesTheFrameInWork) {
    FakeSource source("a.avi", Steps(5, Step::kFrame));
    const LoopOutcome outcome = run(source);
    EXPECT_TRUE(outcome.isStopped);
    EXPECT_EQ(outcome.done, 2U);
    EXPECT_EQ(StopRequest::signal(), SIGTERM);
    EXPECT_STREQ(StopRequest::signalName(), "SIGTERM");
}

TEST_F(StoppedLoop, DoesNotGoOnToTheNextSource) {
    std::vector<std::unique_ptr<FrameSource>> sources;
    sources.push_back(std::make_unique<FakeSource>("a", Steps{Step::kFrame, Step::kStop}));
    sources.push_back(std::make_unique<FakeSource>("b", Steps(2, Step::kFrame)));
    SourceQueue queue(std::move(sources), 1);
    EXPECT_TRUE(run(queue).isStopped);
    EXPECT_EQ(seen_, Names{"a #0"});
}

// A shell starts what runs in the background with SIGINT ignored, so that each test says what it begins with.

TEST(StopRequests, SecondSignalEndsTheProcess) {
    EXPECT_EXIT(
        {
            std::signal(SIGINT, SIG_DFL);
            const StopRequest stop;
            std::raise(SIGINT);
            std::raise(SIGINT);
        },
        ::testing::KilledBySignal(SIGINT), "");
    EXPECT_EXIT(
        {
            std::signal(SIGINT, SIG_DFL);
            const StopRequest stop;
            std::raise(SIGINT);
            std::raise(SIGTERM);
        },
        ::testing::KilledBySignal(SIGTERM), "");
}

TEST(StopRequests, FirstSignalOnlyLeavesARequest) {
    EXPECT_EXIT(
        {
            std::signal(SIGINT, SIG_DFL);
            const StopRequest stop;
            std::raise(SIGINT);
            std::_Exit(StopRequest::signal() == SIGINT && StopRequest::isMade() ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(StopRequests, IgnoredSignalStaysIgnored) {
    EXPECT_EXIT(
        {
            std::signal(SIGINT, SIG_IGN);
            const StopRequest stop;
            std::raise(SIGINT);
            std::raise(SIGINT);
            std::_Exit(StopRequest::isMade() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(StopRequests, EndBySignalIsSeenAsOne) {
    EXPECT_EXIT(endBySignal(SIGTERM), ::testing::KilledBySignal(SIGTERM), "");
}

}  // namespace
}  // namespace brellix::testing
