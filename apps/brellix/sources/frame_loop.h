#pragma once

/// \file
/// One task over many frames.

#include "console/console.h"
#include "sources/frame_source.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <functional>
#include <limits>

namespace brellix::app {

/// What is done with one frame.
using FrameTask = std::function<void(const Frame& frame)>;

struct LoopOutcome {
    std::size_t done = 0;
    std::size_t failed = 0;
    bool isStopped = false;  ///< by a `StopRequest`, before the source's end
};

/// \return the reason why OpenCV threw while a network of this input size was run on a picture of that size.
std::string whyOpenCvThrew(const cv::Exception& exception, cv::Size picture, cv::Size networkInput);

/// Reads the frames one after another and hands each to the task, with a line of progress on a terminal,
/// until the source ends, `limit` frames are done or a stop is requested; the frame in work is finished.
///
/// A frame that cannot be read, or that the task throws for, is reported and passed over; a `Failure` of the
/// task ends the run, and so do many such frames in a row of a camera or stream.
/// \param networkInput size of the network's input, for messages.
LoopOutcome overFrames(FrameSource& source, cv::Size networkInput, Console& console, const FrameTask& task,
                       std::size_t limit = std::numeric_limits<std::size_t>::max());

}  // namespace brellix::app
