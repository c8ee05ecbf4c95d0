#include "sources/early_end.h"

#include "sources/jpeg_splitter.h"

#include <cstddef>
#include <fstream>
#include <string_view>

namespace brellix::app {
namespace {

constexpr std::size_t kPartSize = 65536;

/// \return at most `kPartSize` bytes; none at the end.
std::string nextPart(std::ifstream& file) {
    std::string part(kPartSize, '\0');
    file.read(part.data(), static_cast<std::streamsize>(part.size()));
    part.resize(static_cast<std::size_t>(file.gcount()));
    return part;
}

}  // namespace

bool endsEarly(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    JpegSplitter splitter;
    std::string part = nextPart(file);
    // The splitter would look for a picture further on.
    if (std::string_view(part).substr(0, kJpegStart.size()) != kJpegStart) {
        return false;
    }
    for (; !part.empty(); part = nextPart(file)) {
        splitter.append(part);
        if (splitter.take()) {
            return false;
        }
    }
    return splitter.isInsidePicture();
}

void warnOfEarlyEnd(const std::string& path, Console& console) {
    if (endsEarly(path)) {
        console.warning(path +
                        ": the file ends early; what is missing of the picture is grey, or coarse where the "
                        "file is a progressive one");
    }
}

}  // namespace brellix::app
