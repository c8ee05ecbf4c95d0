#include "files/sink.h"

#include "console/failure.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace brellix::app {
namespace {

Failure cannotWrite(const std::string& name, int error) {
    const std::string cause = error == EPIPE   ? "its reader has closed it"
                              : error == EBADF ? "it is closed"
                                               : std::strerror(error);
    return failedAtWork("cannot write to " + name + ": " + cause);
}

/// Waits until a pipe that somebody made non-blocking takes more.
void waitUntilWritable(int descriptor) {
    pollfd entry{descriptor, POLLOUT, 0};
    poll(&entry, 1, -1);
}

/// \return 0, or the error that ended the writing.
int writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            waitUntilWritable(descriptor);
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

}  // namespace

Sink::Sink(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {}

Sink Sink::createFile(const std::string& path) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        throw cannotWrite(path, errno);
    }
    Sink sink(descriptor, path);
    sink.isOwnFile_ = true;
    return sink;
}

Sink::Sink(Sink&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      name_(std::move(other.name_)),
      isOwnFile_(other.isOwnFile_),
      wholeBytes_(other.wholeBytes_) {}

Sink::~Sink() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

void Sink::write(std::string_view text) {
    const int error = writeAll(descriptor_, text);
    if (error == 0) {
        wholeBytes_ += static_cast<off_t>(text.size());
        return;
    }
    if (isOwnFile_) {
        // Devices and pipes refuse to be cut, which is as good: then there is nothing to cut.
        [[maybe_unused]] const int refused = ftruncate(descriptor_, wholeBytes_);
    }
    throw cannotWrite(name_, error);
}

void Sink::close() {
    const int descriptor = std::exchange(descriptor_, -1);
    if (descriptor >= 0 && ::close(descriptor) != 0 && errno != EINTR) {
        throw cannotWrite(name_, errno);
    }
}

}  // namespace brellix::app
