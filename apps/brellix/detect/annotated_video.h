#pragma once

/// \file
/// Writing a video of annotated frames.

#include "sources/frame.h"

#include <opencv2/core.hpp>
#include <opencv2/videoio.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace brellix::app {

/// One Motion JPEG video in an AVI file, which is readable however far it came, and which every build of
/// OpenCV can write. The codec wants even sizes: an odd one is filled up with one row or column more.
class AnnotatedVideo {
  public:
    /// Creates the file.
    /// \param first what is known of the first frame. A video file's rate becomes the video's. With a live
    ///              source that has times (a camera) it is measured on the first 16 frames, whatever the
    ///              source says; without times it is 25.
    AnnotatedVideo(const std::string& path, const FrameId& first, cv::Size size);

    cv::Size size() const { return size_; }

    /// Throws `Failure` where the disk is full.
    void add(const cv::Mat& drawn, const FrameId& frame);

    /// Completes the file. Throws `Failure` where it does not hold all frames then.
    void close();

  private:
    struct Waiting {
        cv::Mat drawn;
        double timeMs;
    };

    void begin(double framesPerSecond);
    void beginAtMeasuredRate();
    void write(const cv::Mat& drawn);

    std::string path_;
    cv::Size size_;
    cv::VideoWriter writer_;
    std::vector<Waiting> waiting_;  ///< frames of a live source until its rate is known
    std::size_t written_ = 0;
};

/// \return how many bytes a disk must have left so that a video of `frames` frames takes one more, which no
///         coding makes larger than its pixels, and can still be completed.
std::uintmax_t roomForAFrame(cv::Size size, std::size_t frames);

/// \return a rate that players take: `framesPerSecond` where it is a sensible one, 25 where none is known.
double playableRate(double framesPerSecond);

}  // namespace brellix::app
