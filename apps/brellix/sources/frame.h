#pragma once

/// \file
/// One picture, wherever it came from.

#include <opencv2/core.hpp>

#include <cstddef>
#include <optional>
#include <string>

namespace brellix::app {

/// Where a frame comes from.
enum class FrameOrigin {
    kPicture,  ///< a picture file: a source of one frame
    kVideo,    ///< a video file
    kLive      ///< a camera or a stream, which has no known end
};

/// What is known of a frame before its pixels are.
struct FrameId {
    std::string source;  ///< path, "camera 0" or "standard input"
    FrameOrigin origin = FrameOrigin::kPicture;
    std::size_t number = 0;        ///< index in its source, from 0
    std::optional<double> timeMs;  ///< presentation time from the source's start, milliseconds, finite
    double framesPerSecond = 0.0;  ///< rate of the frames that are processed, 0 where unknown
};

struct Frame {
    FrameId id;
    cv::Mat picture;  ///< 8-bit BGR, upright
};

/// \return what messages and the table call the frame: the path of a picture, else for example "a.avi #12".
std::string displayName(const FrameId& id);

}  // namespace brellix::app
