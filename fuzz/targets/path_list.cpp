// Paths that arrive line by line, against the plain splitting of the whole text. Nothing is opened.
// Capped: 64 KiB, which a pipe holds (scripts/fuzz).

#include "sources/path_list.h"
#include "files/broken_picture.h"
#include "sources/input_stream.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace brellix::fuzz {
namespace {

// What the operating system allows a path, with its end.
constexpr std::size_t kLongestPath = 4096;
// A pipe takes so much before it waits for a reader.
constexpr std::size_t kPipe = 65536;

/// A pipe with the text in it and nobody at the other end.
class FilledPipe {
  public:
    explicit FilledPipe(const std::string& text) {
        require(::pipe(ends_.data()) == 0, "no pipe");
        require(::write(ends_[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()),
                "pipe is full");
        ::close(ends_[1]);
    }
    ~FilledPipe() { ::close(ends_[0]); }
    FilledPipe(const FilledPipe&) = delete;
    FilledPipe& operator=(const FilledPipe&) = delete;

    int reader() const { return ends_[0]; }

  private:
    std::array<int, 2> ends_{};
};

struct Listed {
    std::vector<std::string> paths;
    bool isRefused = false;
};

bool operator==(const Listed& a, const Listed& b) {
    return a.paths == b.paths && a.isRefused == b.isRefused;
}

Listed listed(const std::string& head, const std::string& stream) {
    const FilledPipe pipe(stream);
    app::InputStream input(pipe.reader());
    app::PathList list(input, "list", head);
    Listed result;
    try {
        while (list.advance()) {
            result.paths.push_back(list.id().source);
        }
    } catch (const app::BrokenPicture&) {
        result.isRefused = true;
        require(!list.advance(), "a list goes on behind its end");
    }
    return result;
}

/// A list without paths is refused, and one from the first line on that holds a NUL byte.
Listed plainlyListed(const std::string& text) {
    Listed result;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        std::string line = text.substr(begin, end - begin);
        if (line.find('\0') < kLongestPath) {
            result.isRefused = true;
            return result;
        }
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (!line.empty()) {
            result.paths.push_back(line.substr(0, kLongestPath));
        }
        begin = end + 1;
    }
    result.isRefused = result.paths.empty();
    return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedData data(bytes, size);
    const std::string head = data.text(64);
    const std::string stream = data.rest().substr(0, kPipe);
    require(listed(head, stream) == plainlyListed(head + stream), "paths");
    return 0;
}

}  // namespace brellix::fuzz
