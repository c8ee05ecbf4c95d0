#include "detect/video_log.h"

#include <opencv2/core/utils/logger.hpp>

#include <cstdlib>

namespace brellix::app {

void silenceVideoLibraries() {
    if (std::getenv("OPENCV_LOG_LEVEL") == nullptr) {
        cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
    }
    // FFmpeg's own number for "quiet"; OpenCV reads the variable when it first opens a video.
    setenv("OPENCV_FFMPEG_LOGLEVEL", "-8", 0);
}

}  // namespace brellix::app
