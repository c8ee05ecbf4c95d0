#include "sources/path_list.h"

#include "console/stop_request.h"
#include "files/broken_picture.h"
#include "files/picture_reader.h"

#include <cstddef>
#include <utility>

namespace brellix::app {
namespace {

// What the operating system allows a path, with its end.
constexpr std::size_t kLongestPath = 4096;

}  // namespace

PathList::PathList(InputStream& stream, const std::string& name, std::string head)
    : stream_(stream), name_(name), buffer_(std::move(head)) {
    id_.source = name;
}

/// \return false at the end.
bool PathList::takeLine(std::string& line) {
    std::size_t end = 0;
    while ((end = buffer_.find('\n')) == std::string::npos && !isAtEnd_) {
        // Of a line that is too long to be a path its beginning is enough to say so.
        if (buffer_.size() > kLongestPath) {
            buffer_.resize(kLongestPath + 1);
        }
        isAtEnd_ = !stream_.appendMore(buffer_);
    }
    // A stop request leaves half a line behind, which is nobody's path.
    if (buffer_.empty() || (end == std::string::npos && StopRequest::isMade())) {
        return false;
    }
    line = buffer_.substr(0, end);
    buffer_.erase(0, end == std::string::npos ? end : end + 1);
    return true;
}

void PathList::refuseRest() {
    isAtEnd_ = true;
    gavePath_ = true;
    buffer_.clear();
    id_.source = name_;
    throw BrokenPicture(std::string("a line holds a NUL byte, which no path does, ") + kExpectedOfStream +
                        "; the rest is not read");
}

bool PathList::advance() {
    std::string line;
    while (takeLine(line)) {
        // Behind that the line has lost parts, or not, as they came.
        if (line.find('\0') < kLongestPath) {
            refuseRest();
        }
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (!line.empty()) {
            gavePath_ = true;
            id_.source = line.substr(0, kLongestPath);
            return true;
        }
    }
    if (!std::exchange(gavePath_, true) && !StopRequest::isMade()) {
        throw BrokenPicture("ended without a picture");
    }
    return false;
}

cv::Mat PathList::read() {
    return readPicture(id_.source);
}

}  // namespace brellix::app
