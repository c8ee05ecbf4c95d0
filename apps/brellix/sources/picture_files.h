#pragma once

/// \file
/// Frames from picture files.

#include "sources/frame_source.h"

#include <string>
#include <vector>

namespace brellix::app {

class PictureFiles : public FrameSource {
  public:
    explicit PictureFiles(std::vector<std::string> paths) : paths_(std::move(paths)) {}

    bool advance() override;
    FrameId id() const override { return id_; }
    cv::Mat read() override;
    std::optional<std::size_t> frameCount() const override { return paths_.size(); }

  private:
    std::vector<std::string> paths_;
    std::size_t next_ = 0;
    FrameId id_;
};

}  // namespace brellix::app
