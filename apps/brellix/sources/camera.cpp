#include "sources/camera.h"

#include "console/failure.h"
#include "console/stop_request.h"
#include "console/text.h"
#include "files/broken_picture.h"
#include "files/inputs.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <thread>

namespace brellix::app {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 10s;
constexpr auto kPauseBetweenTries = 50ms;

constexpr std::string_view kDevices = "/dev/video";

std::string cameraPath(int number) {
    return std::string(kDevices) + std::to_string(number);
}

std::string camerasHere() {
    const std::string list = joined(matchesOf("/dev/video*"));
    return list.empty() ? "this machine has none" : "this machine has " + list;
}

/// OpenCV waits for a camera's frame where a stop request cannot be seen; a short wait brings the control
/// back in time, and `Camera` waits on.
void shortenWaitForFrames() {
    setenv("OPENCV_VIDEOIO_V4L_SELECT_TIMEOUT", "1", 0);
}

}  // namespace

std::optional<int> cameraNumber(const std::string& path) {
    int number = 0;
    const char* const digits = path.c_str() + std::min(kDevices.size(), path.size());
    std::from_chars(digits, path.c_str() + path.size(), number);
    // Written as the system does: "/dev/video007" is another file.
    return number >= 0 && path == cameraPath(number) ? std::optional(number) : std::nullopt;
}

void requireCamera(int number) {
    const std::string path = cameraPath(number);
    if (eaccess(path.c_str(), R_OK | W_OK) != 0) {
        const int error = errno;
        throw wrongUse("camera " + std::to_string(number) + ": " + path + ": " + std::strerror(error) + "; " +
                       (error == EACCES ? "join the group that owns it, usually video" : camerasHere()));
    }
}

Camera::Camera(int number) : number_(number) {
    id_.source = "camera " + std::to_string(number);
    id_.origin = FrameOrigin::kLive;
}

void Camera::open() {
    isOpened_ = true;
    shortenWaitForFrames();
    if (!capture_.open(number_, cv::CAP_V4L2)) {
        isLost_ = true;
        throw BrokenPicture(cameraPath(number_) +
                            " cannot be opened: it is no camera, or another program uses it");
    }
    id_.framesPerSecond = capture_.get(cv::CAP_PROP_FPS);
}

/// \return false where a stop was requested. Throws `BrokenPicture` where no frame comes any more.
bool Camera::grab() {
    const Clock::time_point start = Clock::now();
    while (!StopRequest::isMade()) {
        if (capture_.grab()) {
            return true;
        }
        const bool isThere = access(cameraPath(number_).c_str(), F_OK) == 0;
        if (!isThere || Clock::now() - start > kPatience) {
            isLost_ = true;
            throw BrokenPicture(isThere ? "no frame came for 10 seconds" : "the camera has gone");
        }
        std::this_thread::sleep_for(kPauseBetweenTries);
    }
    return false;
}

bool Camera::advance() {
    if (!isOpened_) {
        open();
    }
    if (isLost_ || !grab()) {
        return false;
    }
    const Clock::time_point now = Clock::now();
    firstFrame_ = grabbed_ == 0 ? now : firstFrame_;
    id_.number = grabbed_++;
    id_.timeMs = std::chrono::duration<double, std::milli>(now - firstFrame_).count();
    return true;
}

cv::Mat Camera::read() {
    cv::Mat shared;
    if (!capture_.retrieve(shared) || shared.empty()) {
        throw BrokenPicture("cannot be decoded");
    }
    return shared.clone();
}

}  // namespace brellix::app
