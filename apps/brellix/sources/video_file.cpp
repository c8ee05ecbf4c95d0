#include "sources/video_file.h"

#include "console/text.h"
#include "files/broken_picture.h"
#include "files/file_kind.h"
#include "files/readable_file.h"

#include <opencv2/videoio/registry.hpp>

#include <filesystem>

namespace brellix::app {
namespace {

// The others misread plain files: one takes digits in a name for a sequence of pictures, another builds a
// pipeline from it.
int videoBackend() {
    return cv::videoio_registry::hasBackend(cv::CAP_FFMPEG) ? cv::CAP_FFMPEG : cv::CAP_ANY;
}

}  // namespace

bool brokeOff(const VideoEnd& end) {
    if (!(end.promisedFrames > 0.0) || !(end.framesPerSecond > 0.0)) {
        return false;
    }
    constexpr double kToleratedShare = 0.05;
    constexpr double kToleratedFrames = 2.0;
    const double missing = end.promisedFrames - static_cast<double>(end.frames);
    const double lastFrame = end.lastTimeMs / 1000.0 * end.framesPerSecond + 1.0;
    const double missingByTime = end.promisedFrames - lastFrame;
    const double tolerated = kToleratedFrames + kToleratedShare * end.promisedFrames;
    return missing > tolerated && missingByTime > tolerated;
}

VideoFile::VideoFile(const std::string& path) {
    id_.source = path;
    id_.origin = FrameOrigin::kVideo;
}

void VideoFile::open() {
    state_ = State::kEnded;
    requireReadableSource(id_.source);
    // An absolute path is never taken for an address ("http:...") or a pipeline.
    if (!capture_.open(std::filesystem::absolute(id_.source).string(), videoBackend())) {
        throw BrokenPicture("not a video, or a damaged one, or of a format that OpenCV does not read here");
    }
    state_ = State::kOpen;
    promisedFrames_ = capture_.get(cv::CAP_PROP_FRAME_COUNT);
    id_.framesPerSecond = capture_.get(cv::CAP_PROP_FPS);
}

/// \return the time that the file says, else the one that follows from its rate.
std::optional<double> VideoFile::currentTimeMs() const {
    constexpr double kLatest = 1e15;
    const double said = capture_.get(cv::CAP_PROP_POS_MSEC);
    if (said > 0.0 && said < kLatest) {
        return said;
    }
    const double reckoned = static_cast<double>(id_.number) * 1000.0 / id_.framesPerSecond;
    return reckoned >= 0.0 && reckoned < kLatest ? std::optional(reckoned) : std::nullopt;
}

void VideoFile::end() {
    state_ = State::kEnded;
    if (grabbed_ == 0) {
        throw BrokenPicture("not a single frame of this video can be decoded");
    }
    if (brokeOff({grabbed_, promisedFrames_, id_.timeMs.value_or(0.0), id_.framesPerSecond})) {
        throw BrokenPicture("the video breaks off: its header says " + fixed(promisedFrames_, 0) +
                            " frames, and " + std::to_string(grabbed_) + " can be decoded");
    }
}

bool VideoFile::advance() {
    if (state_ == State::kUnopened) {
        open();
    }
    if (state_ == State::kOpen && capture_.grab()) {
        id_.number = grabbed_++;
        id_.timeMs = currentTimeMs();
        return true;
    }
    if (state_ == State::kOpen) {
        end();
    }
    return false;
}

cv::Mat VideoFile::read() {
    cv::Mat shared;
    if (!capture_.retrieve(shared) || shared.empty()) {
        throw BrokenPicture("cannot be decoded");
    }
    return shared.clone();
}

std::optional<std::size_t> VideoFile::frameCount() const {
    constexpr double kMostFrames = 1e12;
    const bool isKnown = promisedFrames_ >= 1.0 && promisedFrames_ <= kMostFrames;
    return isKnown ? std::optional(static_cast<std::size_t>(promisedFrames_)) : std::nullopt;
}

}  // namespace brellix::app
