#include "sources/input_stream.h"

#include "console/stop_request.h"
#include "files/broken_picture.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace brellix::app {

bool InputStream::appendMore(std::string& bytes) {
    std::array<char, 65536> part;  // NOLINT: read into before anything is read from it
    while (!isAtEnd_ && StopRequest::waitForInput(descriptor_)) {
        const ssize_t size = read(descriptor_, part.data(), part.size());
        if (size > 0) {
            bytes.append(part.data(), static_cast<std::size_t>(size));
            return true;
        }
        // A descriptor that somebody made non-blocking may be empty again.
        if (size == 0 || (errno != EINTR && errno != EAGAIN)) {
            isAtEnd_ = true;
        }
        if (size < 0 && isAtEnd_) {
            throw BrokenPicture(std::string("cannot be read: ") + std::strerror(errno));
        }
    }
    return false;
}

}  // namespace brellix::app
