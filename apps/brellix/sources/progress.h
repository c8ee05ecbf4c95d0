#pragma once

/// \file
/// The progress line.

#include "sources/frame.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace brellix::app {

/// \return for example "12/200 pictures, 8.3 a second, 22 s left"; without a total "12 frames, 8.3 a second".
std::string progressText(std::size_t done, std::optional<std::size_t> total, const std::string& noun,
                         double seconds);

/// Counts the frames of one source after the other against the clock; all picture files count as one source.
class Progress {
  public:
    /// Begins anew where the frame belongs to another source than the one before.
    void follow(const FrameId& frame);

    void advance() { ++done_; }

    /// \param total how many frames the source has, where that is known.
    /// \param limit how many more are wanted.
    /// \return the line as it stands now.
    std::string text(std::optional<std::size_t> total, std::size_t limit) const;

  private:
    using Clock = std::chrono::steady_clock;

    std::string source_;  ///< empty for picture files
    std::size_t done_ = 0;
    Clock::time_point start_ = Clock::now();
};

}  // namespace brellix::app
