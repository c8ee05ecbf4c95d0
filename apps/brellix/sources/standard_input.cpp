#include "sources/standard_input.h"

#include "files/broken_picture.h"
#include "sources/jpeg_stream.h"
#include "sources/path_list.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string>

namespace brellix::app {
namespace {

// Longer than any path.
constexpr std::size_t kLongestLine = 4096;

constexpr std::string_view kPngStart = "\x89PNG";

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

bool holdsPictureBytes(std::string_view head) {
    return contains(head, kJpegStart) || contains(head, std::string_view("\0", 1));
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// \return whether the line is "HTTP/1.1 200 OK" or the like.
bool isStatusLine(std::string_view line) {
    constexpr std::string_view kBegin = "HTTP/";
    return line.substr(0, kBegin.size()) == kBegin && line.size() > kBegin.size() &&
           isDigit(line[kBegin.size()]);
}

/// \return whether the line is "Content-Type: image/jpeg" or the like, in upper or lower case.
bool isContentHeader(std::string_view line) {
    constexpr std::string_view kBegin = "content-";
    return line.size() >= kBegin.size() && contains(line, ":") &&
           std::equal(kBegin.begin(), kBegin.end(), line.begin(),
                      [](char wanted, unsigned char c) { return wanted == std::tolower(c); });
}

bool isOfNetworkCamera(std::string_view line) {
    return line.substr(0, 2) == "--" || isStatusLine(line) || isContentHeader(line);
}

}  // namespace

std::optional<StreamKind> streamKindOf(std::string_view head, bool isAll) {
    if (head.substr(0, kPngStart.size()) == kPngStart) {
        return StreamKind::kPng;
    }
    if (holdsPictureBytes(head)) {
        return StreamKind::kJpegs;
    }
    // What a network camera sends may begin with an empty line.
    head.remove_prefix(std::min(head.find_first_not_of("\r\n"), head.size()));
    const std::string_view line = head.substr(0, head.find('\n'));
    if (isOfNetworkCamera(line) || line.size() > kLongestLine) {
        return StreamKind::kJpegs;
    }
    const bool isWholeLine = line.size() < head.size();
    return isWholeLine || isAll ? std::optional(StreamKind::kPaths) : std::nullopt;
}

StandardInput::StandardInput() : stream_(STDIN_FILENO) {
    id_.source = "standard input";
    id_.origin = FrameOrigin::kLive;
}

void StandardInput::begin() {
    hasBegun_ = true;
    std::string head;
    std::optional<StreamKind> kind;
    while (!kind) {
        // A statement of its own: which of a call's arguments comes first differs between processors.
        const bool isAll = !stream_.appendMore(head);
        kind = streamKindOf(head, isAll);
    }
    if (*kind == StreamKind::kPng) {
        throw BrokenPicture(std::string("begins as a PNG file does, ") + kExpectedOfStream);
    }
    if (*kind == StreamKind::kJpegs) {
        frames_ = std::make_unique<JpegStream>(stream_, id_.source, head);
    } else {
        frames_ = std::make_unique<PathList>(stream_, id_.source, head);
    }
}

bool StandardInput::advance() {
    if (!hasBegun_) {
        begin();
    }
    return frames_ && frames_->advance();
}

}  // namespace brellix::app
