#pragma once

/// \file
/// Finding JPEG pictures in a stream of bytes.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace brellix::app {

/// What a JPEG begins with.
inline constexpr std::string_view kJpegStart = "\xFF\xD8\xFF";

/// One picture of the stream, or what is left of one.
struct JpegPiece {
    std::string bytes;  ///< from its start marker to its end marker; empty for a damaged one
    std::string fault;  ///< what is wrong with it, empty for a whole one
};

/// Follows the markers of each picture, so that a preview inside of one is not taken for the next picture.
/// Whatever stands between two pictures is passed over. Keeps no more than one picture of at most 64 MiB.
class JpegSplitter {
  public:
    void append(std::string_view bytes) { buffer_.append(bytes); }

    /// \return the next picture; nothing while the bytes do not hold its end.
    std::optional<JpegPiece> take();

    /// \return whether the bytes so far end inside a picture.
    bool isInsidePicture() const { return state_ != State::kBetween; }

  private:
    enum class State {
        kBetween,  ///< looking for a picture
        kMarker,   ///< at a marker of one
        kScan      ///< in its compressed data
    };

    bool findStart();
    bool passScan();
    std::optional<JpegPiece> followMarkers();
    std::optional<JpegPiece> followMarker(unsigned char code);
    JpegPiece takeWhole();
    JpegPiece giveUp(std::size_t goOnAt, const char* fault);
    unsigned char byteAt(std::size_t place) const { return static_cast<unsigned char>(buffer_[place]); }

    std::string buffer_;  ///< begins with the picture's first byte while inside one
    std::size_t place_ = 0;
    State state_ = State::kBetween;
};

}  // namespace brellix::app
