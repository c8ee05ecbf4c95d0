#include "sources/jpeg_splitter.h"

#include <algorithm>

namespace brellix::app {
namespace {

constexpr std::size_t kLargestPicture = std::size_t{64} << 20U;
constexpr std::size_t kMarkerSize = 2;
constexpr std::size_t kLengthSize = 2;

constexpr unsigned char kPrefix = 0xFF;
constexpr unsigned char kStuffing = 0x00;
constexpr unsigned char kTemporary = 0x01;
constexpr unsigned char kFirstRestart = 0xD0;
constexpr unsigned char kLastRestart = 0xD7;
constexpr unsigned char kStartOfPicture = 0xD8;
constexpr unsigned char kEndOfPicture = 0xD9;
constexpr unsigned char kStartOfScan = 0xDA;

bool isRestart(unsigned char code) {
    return code >= kFirstRestart && code <= kLastRestart;
}

}  // namespace

/// \return whether the buffer now begins with a picture.
bool JpegSplitter::findStart() {
    const std::size_t start = buffer_.find(kJpegStart);
    // The last bytes may be the beginning of a start.
    const std::size_t kept = kJpegStart.size() - 1;
    buffer_.erase(0, start != std::string::npos ? start : buffer_.size() - std::min(buffer_.size(), kept));
    if (start == std::string::npos) {
        return false;
    }
    state_ = State::kMarker;
    place_ = kMarkerSize;
    return true;
}

/// \return whether `place_` is at the marker that ends the compressed data.
bool JpegSplitter::passScan() {
    while (place_ < buffer_.size()) {
        place_ = std::min(buffer_.find('\xFF', place_), buffer_.size());
        if (place_ + 1 >= buffer_.size()) {
            return false;
        }
        const unsigned char code = byteAt(place_ + 1);
        if (code == kPrefix) {
            ++place_;
        } else if (code == kStuffing || isRestart(code)) {
            place_ += kMarkerSize;
        } else {
            state_ = State::kMarker;
            return true;
        }
    }
    return false;
}

JpegPiece JpegSplitter::takeWhole() {
    JpegPiece piece{buffer_.substr(0, place_ + kMarkerSize), {}};
    buffer_.erase(0, piece.bytes.size());
    state_ = State::kBetween;
    return piece;
}

JpegPiece JpegSplitter::giveUp(std::size_t goOnAt, const char* fault) {
    buffer_.erase(0, goOnAt);
    state_ = State::kBetween;
    return {{}, fault};
}

/// The marker `code` at `place_`: passes it, or gives the picture that ends there.
std::optional<JpegPiece> JpegSplitter::followMarker(unsigned char code) {
    if (code == kEndOfPicture) {
        return takeWhole();
    }
    if (code == kStartOfPicture) {
        return giveUp(place_, "is cut off: the next one begins inside of it");
    }
    if (code == kTemporary || isRestart(code)) {
        place_ += kMarkerSize;
        return std::nullopt;
    }
    const std::size_t lengthPlace = place_ + kMarkerSize;
    const std::size_t length = byteAt(lengthPlace) * std::size_t{256} + byteAt(lengthPlace + 1);
    if (code == kStuffing || length < kLengthSize) {
        return giveUp(kMarkerSize, "is damaged: its markers make no sense");
    }
    place_ = lengthPlace + length;
    state_ = code == kStartOfScan ? State::kScan : State::kMarker;
    return std::nullopt;
}

std::optional<JpegPiece> JpegSplitter::followMarkers() {
    while (place_ + kMarkerSize <= buffer_.size() && state_ == State::kMarker) {
        if (byteAt(place_) != kPrefix) {
            return giveUp(kMarkerSize, "is damaged: its markers make no sense");
        }
        const unsigned char code = byteAt(place_ + 1);
        if (code == kPrefix) {
            ++place_;
            continue;
        }
        const bool endsHere = code == kEndOfPicture || code == kStartOfPicture;
        if (!endsHere && place_ + kMarkerSize + kLengthSize > buffer_.size()) {
            break;
        }
        if (auto piece = followMarker(code)) {
            return piece;
        }
    }
    return std::nullopt;
}

std::optional<JpegPiece> JpegSplitter::take() {
    bool goesOn = true;
    while (goesOn) {
        if (state_ == State::kBetween) {
            goesOn = findStart();
        } else if (state_ == State::kScan) {
            goesOn = passScan();
        } else if (auto piece = followMarkers()) {
            return piece;
        } else {
            goesOn = state_ == State::kScan;
        }
    }
    if (isInsidePicture() && buffer_.size() > kLargestPicture) {
        return giveUp(kMarkerSize, "is larger than 64 MiB");
    }
    return std::nullopt;
}

}  // namespace brellix::app
