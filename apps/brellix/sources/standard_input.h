#pragma once

/// \file
/// Frames from standard input.

#include "sources/frame_source.h"
#include "sources/input_stream.h"

#include <memory>
#include <optional>
#include <string_view>

namespace brellix::app {

/// What standard input holds.
enum class StreamKind {
    kJpegs,
    kPaths,
    kPng  ///< a picture that is none of a stream
};

/// \return what a stream is that begins with `head`; nothing while its first line is not whole. A JPEG and a
///         byte that no path has, anywhere in `head`, mean pictures, and so do a line too long for a path,
///         the header of an HTTP answer and the "--boundary" of what a network camera sends.
std::optional<StreamKind> streamKindOf(std::string_view head, bool isAll);

/// Frames from standard input, told apart by its first bytes: JPEGs one after another, or paths of pictures,
/// one a line, each of which is read as soon as its line is there. Anything else is broken, and ends at once.
class StandardInput : public FrameSource {
  public:
    StandardInput();

    bool advance() override;
    FrameId id() const override { return frames_ ? frames_->id() : id_; }
    cv::Mat read() override { return frames_->read(); }

  private:
    void begin();

    InputStream stream_;
    FrameId id_;
    bool hasBegun_ = false;
    std::unique_ptr<FrameSource> frames_;
};

}  // namespace brellix::app
