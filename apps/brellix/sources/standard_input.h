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
enum class StreamKind { kJpegs, kPaths };

/// \return what a stream is that begins with `head`; nothing while its first line is not whole. A JPEG, bytes
///         that no path has, and the "--boundary" of what a network camera sends mean pictures.
std::optional<StreamKind> streamKindOf(std::string_view head, bool isAll);

/// Frames from standard input, told apart by its first bytes: JPEGs one after another, or paths of pictures,
/// one a line, each of which is read as soon as its line is there.
class StandardInput : public FrameSource {
  public:
    StandardInput();

    bool advance() override;
    FrameId id() const override { return frames_ ? frames_->id() : id_; }
    cv::Mat read() override { return frames_->read(); }

  private:
    InputStream stream_;
    FrameId id_;
    std::unique_ptr<FrameSource> frames_;
};

}  // namespace brellix::app
