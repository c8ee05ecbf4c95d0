#include "files/own_output.h"

#include "console/failure.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace brellix::app {
namespace {

/// A file opened later must not become standard output or standard error by chance.
void fillClosedStandardStreams() {
    int descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = open("/dev/null", O_RDWR);
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
}

void redirectStandardOutput(int target) {
    if (dup2(target, STDOUT_FILENO) < 0) {
        throw failedAtWork(std::string("cannot set the library's output aside: ") + std::strerror(errno));
    }
}

/// \return a descriptor of what standard output was, -1 if it was closed.
int claimStandardOutput() {
    const int own = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    fillClosedStandardStreams();
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    redirectStandardOutput(nowhere);
    close(nowhere);
    return own;
}

}  // namespace

OwnOutput::OwnOutput() : sink_(claimStandardOutput(), "standard output") {
    // A reader that goes away, or a file that may grow no further, is an error of `write`, with a message,
    // not the end of the process.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    // Whole lines at once keep the library's lines in order with the messages on standard error.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

void OwnOutput::showLibraryLines() {
    redirectStandardOutput(STDERR_FILENO);
}

}  // namespace brellix::app
