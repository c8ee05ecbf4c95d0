#pragma once

/// \file
/// What the video libraries print by themselves.

namespace brellix::app {

/// Silences OpenCV's log and FFmpeg's, which tell the same as our messages in many lines and never name the
/// file. Call it before a video is opened. Whoever sets the variables OPENCV_LOG_LEVEL or
/// OPENCV_FFMPEG_LOGLEVEL still gets what they say.
void silenceVideoLibraries();

}  // namespace brellix::app
