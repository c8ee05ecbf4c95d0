#pragma once

/// \file
/// Frames from video files.

#include "sources/frame_source.h"

#include <opencv2/videoio.hpp>

#include <string>

namespace brellix::app {

/// What is known at the end of a video, for judging whether it is the whole one.
struct VideoEnd {
    std::size_t frames;      ///< that came
    double promisedFrames;   ///< by the header, or reckoned from its duration; not above 0 where unknown
    double lastTimeMs;       ///< of the last frame that came
    double framesPerSecond;  ///< not above 0 where unknown
};

/// \return whether a video ended before its time. Headers are often a little off, and the duration of a video
///         of changing rate says little about its frames: both have to fall short by more than that.
bool brokeOff(const VideoEnd& end);

/// A video that cannot be opened, or that ends before its header says, is broken.
class VideoFile : public FrameSource {
  public:
    explicit VideoFile(const std::string& path);

    bool advance() override;
    FrameId id() const override { return id_; }
    cv::Mat read() override;
    std::optional<std::size_t> frameCount() const override;

  private:
    enum class State { kUnopened, kOpen, kEnded };

    void open();
    void end();
    std::optional<double> currentTimeMs() const;

    cv::VideoCapture capture_;
    State state_ = State::kUnopened;
    std::size_t grabbed_ = 0;
    double promisedFrames_ = 0.0;
    FrameId id_;
};

}  // namespace brellix::app
