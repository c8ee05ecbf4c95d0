#pragma once

/// \file
/// Several sources of frames as one.

#include "sources/frame_source.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace brellix::app {

/// Gives the frames of one source after the other, of each source its first and then every `every`-th. A
/// source is let go of as soon as the next one begins.
class SourceQueue : public FrameSource {
  public:
    /// \param sources at least one.
    /// \param every   at least 1.
    SourceQueue(std::vector<std::unique_ptr<FrameSource>> sources, std::size_t every);

    bool advance() override;
    FrameId id() const override;
    cv::Mat read() override { return sources_[current_]->read(); }

    /// \return for the current source.
    std::optional<std::size_t> frameCount() const override;

  private:
    bool advanceInSource();

    std::vector<std::unique_ptr<FrameSource>> sources_;
    std::size_t every_;
    std::size_t current_ = 0;
    std::size_t position_ = 0;  ///< how many frames the current source has given
};

}  // namespace brellix::app
