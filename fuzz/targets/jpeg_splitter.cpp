// JPEG pictures in a stream: however the bytes arrive, the same pieces come out, each one in the stream and
// from its start to its end marker. Capped: streams of 64 KiB (scripts/fuzz).

#include "sources/jpeg_splitter.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"

#include <algorithm>
#include <string>
#include <vector>

namespace brellix::fuzz {
namespace {

/// What comes out of a stream, pieces and faults in order.
struct Split {
    std::vector<std::string> bytes;
    std::vector<std::string> faults;
    bool endsInside = false;
};

Split split(const std::string& stream, std::size_t partSize) {
    app::JpegSplitter splitter;
    Split result;
    for (std::size_t place = 0; place < stream.size(); place += partSize) {
        splitter.append(std::string_view(stream).substr(place, partSize));
        while (auto piece = splitter.take()) {
            require(piece->bytes.empty() != piece->fault.empty(), "a piece is whole or has a fault");
            result.bytes.push_back(piece->bytes);
            result.faults.push_back(piece->fault);
        }
    }
    result.endsInside = splitter.isInsidePicture();
    return result;
}

bool isPicture(const std::string& bytes) {
    return bytes.size() >= 4 && bytes.substr(0, 3) == "\xFF\xD8\xFF" &&
           bytes.substr(bytes.size() - 2) == "\xFF\xD9";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedData data(bytes, size);
    const auto partSize = static_cast<std::size_t>(data.integer(1, 64));
    const std::string stream = data.rest();
    const Split whole = split(stream, std::max<std::size_t>(stream.size(), 1));
    const Split parts = split(stream, partSize);
    require(
        whole.bytes == parts.bytes && whole.faults == parts.faults && whole.endsInside == parts.endsInside,
        "the pieces depend on how the stream arrives");
    std::size_t from = 0;
    for (const std::string& piece : whole.bytes) {
        if (piece.empty()) {
            continue;
        }
        require(isPicture(piece), "a piece is no picture");
        const std::size_t found = stream.find(piece, from);
        require(found != std::string::npos, "a piece is not in the stream, or out of order");
        from = found + piece.size();
    }
    return 0;
}

}  // namespace brellix::fuzz
