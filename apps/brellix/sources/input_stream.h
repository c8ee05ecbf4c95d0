#pragma once

/// \file
/// Bytes as they arrive.

#include <string>

namespace brellix::app {

/// What standard input may hold, for messages.
inline constexpr const char* kExpectedOfStream =
    "expected JPEGs one after another, or paths of pictures, one a line";

/// Reads a descriptor in parts. A `StopRequest` ends it as the end of the input does.
class InputStream {
  public:
    explicit InputStream(int descriptor) : descriptor_(descriptor) {}

    /// Waits for more and appends what is there, at most 64 KiB.
    /// \return false at the end, and once a stop was requested. Throws `BrokenPicture` where reading fails,
    ///         and from then on it is at its end.
    bool appendMore(std::string& bytes);

  private:
    int descriptor_;
    bool isAtEnd_ = false;
};

}  // namespace brellix::app
