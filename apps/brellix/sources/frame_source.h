#pragma once

/// \file
/// The interface of everything that frames come from.

#include "sources/frame.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <optional>

namespace brellix::app {

/// Frames one after another. Going on and decoding are separate, so that frames that are left out cost
/// little.
class FrameSource {
  public:
    FrameSource() = default;
    FrameSource(const FrameSource&) = delete;
    FrameSource& operator=(const FrameSource&) = delete;
    virtual ~FrameSource() = default;

    /// Goes on to the next frame, or returns false at the end.
    ///
    /// Throws `BrokenPicture` for what is damaged or missing; `id` then says where, there is nothing to
    /// `read`, and the next call goes on behind it.
    virtual bool advance() = 0;

    /// \return the current frame's; before the first one only the source's name is set.
    virtual FrameId id() const = 0;

    /// \return the pixels of the current frame, 8-bit BGR, not shared with a later one's.
    /// Throws `BrokenPicture` with the reason (without the name); the run goes on with the next frame.
    virtual cv::Mat read() = 0;

    /// \return how many frames there will be in all, where that is known.
    virtual std::optional<std::size_t> frameCount() const { return std::nullopt; }
};

}  // namespace brellix::app
