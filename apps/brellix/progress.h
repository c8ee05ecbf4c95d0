#pragma once

/// \file
/// The progress line.

#include <chrono>
#include <cstddef>
#include <string>

namespace brellix::app {

/// \return for example "12/200 pictures, 8.3 a second, 22 s left".
std::string progressText(std::size_t done, std::size_t total, double seconds);

/// Counts pictures against the clock.
class Progress {
  public:
    explicit Progress(std::size_t total) : total_(total) {}

    void advance() { ++done_; }

    /// \return the line as it stands now.
    std::string text() const;

  private:
    using Clock = std::chrono::steady_clock;

    std::size_t total_;
    std::size_t done_ = 0;
    Clock::time_point start_ = Clock::now();
};

}  // namespace brellix::app
