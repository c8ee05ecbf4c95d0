#pragma once

/// \file
/// Frames from pictures whose paths arrive one after another.

#include "sources/frame_source.h"
#include "sources/input_stream.h"

#include <string>

namespace brellix::app {

/// Each picture is read as soon as its line is whole. Empty lines mean nothing; a NUL byte, which says that
/// these are no paths, ends the list.
class PathList : public FrameSource {
  public:
    /// \param stream outlives the source.
    /// \param name   what the stream is called.
    /// \param head   what was read of it already.
    PathList(InputStream& stream, const std::string& name, std::string head);

    bool advance() override;
    FrameId id() const override { return id_; }
    cv::Mat read() override;

  private:
    bool takeLine(std::string& line);
    [[noreturn]] void refuseRest();

    InputStream& stream_;
    std::string name_;
    std::string buffer_;
    bool isAtEnd_ = false;
    bool gavePath_ = false;
    FrameId id_;
};

}  // namespace brellix::app
