#include "sources/standard_input.h"

#include "sources/jpeg_stream.h"
#include "sources/path_list.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <string>

namespace brellix::app {
namespace {

// Longer than any path.
constexpr std::size_t kLongestLine = 4096;

bool mayBePath(std::string_view line) {
    return line.find('\0') == std::string_view::npos && line.find("\xFF\xD8\xFF") == std::string_view::npos &&
           line.substr(0, 2) != "--";
}

}  // namespace

std::optional<StreamKind> streamKindOf(std::string_view head, bool isAll) {
    // What a network camera sends may begin with an empty line.
    head.remove_prefix(std::min(head.find_first_not_of("\r\n"), head.size()));
    const std::string_view line = head.substr(0, head.find('\n'));
    if (!mayBePath(line) || line.size() > kLongestLine) {
        return StreamKind::kJpegs;
    }
    const bool isWholeLine = line.size() < head.size();
    return isWholeLine || isAll ? std::optional(StreamKind::kPaths) : std::nullopt;
}

StandardInput::StandardInput() : stream_(STDIN_FILENO) {
    id_.source = "standard input";
    id_.origin = FrameOrigin::kLive;
}

bool StandardInput::advance() {
    if (!frames_) {
        std::string head;
        std::optional<StreamKind> kind;
        while (!kind) {
            kind = streamKindOf(head, !stream_.appendMore(head));
        }
        if (*kind == StreamKind::kJpegs) {
            frames_ = std::make_unique<JpegStream>(stream_, id_.source, head);
        } else {
            frames_ = std::make_unique<PathList>(stream_, id_.source, head);
        }
    }
    return frames_->advance();
}

}  // namespace brellix::app
