#pragma once

/// \file
/// Frames from a camera.

#include "sources/frame_source.h"

#include <opencv2/videoio.hpp>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace brellix::app {

/// \return the number of the camera whose V4L2 device the path names, 0 for "/dev/video0"; nothing for any
///         other path. The device need not exist.
std::optional<int> cameraNumber(const std::string& path);

/// Throws `Failure` for wrong use where there is no device of that number, with those that there are.
void requireCamera(int number);

/// A V4L2 camera. It has no end: it stops for a `StopRequest`, or breaks.
class Camera : public FrameSource {
  public:
    explicit Camera(int number);

    bool advance() override;
    FrameId id() const override { return id_; }
    cv::Mat read() override;

  private:
    using Clock = std::chrono::steady_clock;

    void open();
    bool grab();

    int number_;
    cv::VideoCapture capture_;
    bool isOpened_ = false;
    bool isLost_ = false;
    std::size_t grabbed_ = 0;
    Clock::time_point firstFrame_;
    FrameId id_;
};

}  // namespace brellix::app
