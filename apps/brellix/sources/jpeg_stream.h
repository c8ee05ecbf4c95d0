#pragma once

/// \file
/// Frames from JPEGs that arrive one after another.

#include "sources/frame_source.h"
#include "sources/input_stream.h"
#include "sources/jpeg_splitter.h"

#include <string>

namespace brellix::app {

/// A raw MJPEG stream, or what a network camera sends. A damaged frame keeps its number.
class JpegStream : public FrameSource {
  public:
    /// \param stream outlives the source.
    /// \param name   what the stream is called.
    /// \param head   what was read of it already.
    JpegStream(InputStream& stream, const std::string& name, const std::string& head);

    bool advance() override;
    FrameId id() const override { return id_; }
    cv::Mat read() override;

  private:
    void acceptPiece(JpegPiece piece);
    void end();

    InputStream& stream_;
    JpegSplitter splitter_;
    std::string jpeg_;  ///< the current frame
    std::size_t frames_ = 0;
    bool isAtEnd_ = false;
    FrameId id_;
};

}  // namespace brellix::app
