#pragma once

/// \file
/// Where results are written to.

#include <sys/types.h>

#include <string>
#include <string_view>

namespace brellix::app {

/// An open file or pipe, unbuffered: what was written stays written, however the run ends.
class Sink {
  public:
    /// Takes over `descriptor`; -1 stands for one that was closed before the program began.
    /// \param name what messages call it.
    Sink(int descriptor, std::string name);

    /// Creates the file at `path` or empties it. Throws `Failure` when that cannot be done.
    static Sink createFile(const std::string& path);

    Sink(Sink&& other) noexcept;
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    Sink& operator=(Sink&&) = delete;
    ~Sink();

    /// Writes all of `text`, or throws `Failure`. A created file is then cut back to the end of the last
    /// whole `write`, so that a full disk leaves no half line.
    void write(std::string_view text);

    /// Closes it and throws `Failure` for an error that shows only now.
    void close();

  private:
    int descriptor_;
    std::string name_;
    bool isOwnFile_ = false;
    off_t wholeBytes_ = 0;
};

}  // namespace brellix::app
