#include "detect/annotated_video.h"

#include "console/failure.h"
#include "files/sink.h"

#include <opencv2/imgproc.hpp>
#include <opencv2/videoio/registry.hpp>

#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <utility>

namespace brellix::app {
namespace {

constexpr double kUsualRate = 25.0;
constexpr double kSlowestRate = 0.1;
constexpr double kFastestRate = 240.0;
constexpr std::size_t kFramesToMeasure = 16;

/// The encoder of OpenCV itself stands in where it was built without FFmpeg.
int writerBackend() {
    return cv::videoio_registry::hasBackend(cv::CAP_FFMPEG) ? cv::CAP_FFMPEG : cv::CAP_OPENCV_MJPEG;
}

int upToEven(int number) {
    return number + number % 2;
}

cv::Size evenSize(cv::Size size) {
    return {upToEven(size.width), upToEven(size.height)};
}

/// \return bytes that can still be written where the file lies; all there could be where nobody knows.
std::uintmax_t bytesLeftFor(const std::string& path) {
    struct statvfs status {};
    if (statvfs(path.c_str(), &status) != 0) {
        return UINTMAX_MAX;
    }
    return std::uintmax_t{status.f_bavail} * status.f_frsize;
}

/// The library's writer never says that a disk is full. Ending while there is room leaves a whole video.
void requireRoom(const std::string& path, cv::Size size, std::size_t frames) {
    if (bytesLeftFor(path) < roomForAFrame(size, frames)) {
        throw failedAtWork("cannot write to " + path + ": No space left on device; it holds the first " +
                           std::to_string(frames) + " frames");
    }
}

std::size_t framesIn(const std::string& path) {
    const cv::VideoCapture video(std::filesystem::absolute(path).string(), writerBackend());
    const double frames = video.isOpened() ? video.get(cv::CAP_PROP_FRAME_COUNT) : 0.0;
    return frames >= 1.0 && frames < 1e12 ? static_cast<std::size_t>(frames) : 0;
}

/// An AVI file is a row of chunks with their sizes in front. The writer notes the sizes that it meant to
/// write: where the disk was full, they lead past the end.
bool isWholeAvi(const std::string& path) {
    constexpr std::uint64_t kHeadSize = 8;
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const auto end = static_cast<std::uint64_t>(std::max<std::streamoff>(file.tellg(), 0));
    std::uint64_t place = 0;
    while (place + kHeadSize <= end) {
        std::array<unsigned char, kHeadSize> head{};
        file.seekg(static_cast<std::streamoff>(place));
        file.read(reinterpret_cast<char*>(head.data()), kHeadSize);
        const std::uint64_t size = head[4] | std::uint64_t{head[5]} << 8U | std::uint64_t{head[6]} << 16U |
                                   std::uint64_t{head[7]} << 24U;
        place += kHeadSize + size;
    }
    return file.good() && place == end;
}

}  // namespace

std::uintmax_t roomForAFrame(cv::Size size, std::size_t frames) {
    constexpr std::uintmax_t kIndexEntry = 64;
    constexpr std::uintmax_t kBuffers = std::uintmax_t{1} << 20U;
    const std::uintmax_t frame =
        static_cast<std::uintmax_t>(size.width) * static_cast<std::uintmax_t>(size.height) * 3;
    return frame + kIndexEntry * frames + kBuffers;
}

double playableRate(double framesPerSecond) {
    return framesPerSecond > 0.0 ? std::clamp(framesPerSecond, kSlowestRate, kFastestRate) : kUsualRate;
}

AnnotatedVideo::AnnotatedVideo(const std::string& path, const FrameId& first, cv::Size size)
    : path_(path), size_(size) {
    // Says why, where the file cannot be created; the library's writer would only fail.
    Sink::createFile(path).close();
    if (first.origin != FrameOrigin::kLive || !first.timeMs) {
        begin(first.framesPerSecond);
    }
}

void AnnotatedVideo::begin(double framesPerSecond) {
    const int codec = cv::VideoWriter::fourcc('M', 'J', 'P', 'G');
    if (!writer_.open(std::filesystem::absolute(path_).string(), writerBackend(), codec,
                      playableRate(framesPerSecond), evenSize(size_))) {
        throw failedAtWork("cannot write to " + path_ + ": OpenCV has no encoder for Motion JPEG here");
    }
}

void AnnotatedVideo::beginAtMeasuredRate() {
    const double span = waiting_.back().timeMs - waiting_.front().timeMs;
    begin(span > 0.0 ? static_cast<double>(waiting_.size() - 1) * 1000.0 / span : 0.0);
    // Where one of them finds no room, the video ends with those before.
    for (const Waiting& frame : std::exchange(waiting_, {})) {
        write(frame.drawn);
    }
}

void AnnotatedVideo::write(const cv::Mat& drawn) {
    requireRoom(path_, size_, written_);
    const cv::Size even = evenSize(size_);
    cv::Mat filled = drawn;
    if (even != size_) {
        cv::copyMakeBorder(drawn, filled, 0, even.height - size_.height, 0, even.width - size_.width,
                           cv::BORDER_REPLICATE);
    }
    writer_.write(filled);
    ++written_;
}

void AnnotatedVideo::add(const cv::Mat& drawn, const FrameId& frame) {
    if (writer_.isOpened()) {
        write(drawn);
        return;
    }
    waiting_.push_back({drawn, frame.timeMs.value_or(0.0)});
    if (waiting_.size() == kFramesToMeasure) {
        beginAtMeasuredRate();
    }
}

void AnnotatedVideo::close() {
    if (!waiting_.empty()) {
        beginAtMeasuredRate();
    }
    writer_.release();
    if (!isWholeAvi(path_) || framesIn(path_) != written_) {
        throw failedAtWork(path_ + " is not complete: not all of its " + std::to_string(written_) +
                           " frames could be written; is the disk full?");
    }
}

}  // namespace brellix::app
