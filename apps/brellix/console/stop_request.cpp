#include "console/stop_request.h"

#include "console/failure.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>

namespace brellix::app {
namespace {

constexpr std::array<int, 3> kSignals = {SIGINT, SIGTERM, SIGHUP};

// A handler reaches nothing but such variables. The pipe wakes whoever waits for input: a flag alone would be
// missed if it were set between the look at it and the beginning of the wait.
volatile std::sig_atomic_t requestedSignal = 0;
std::array<int, 2> wakePipe = {-1, -1};
std::array<struct sigaction, kSignals.size()> earlierActions{};

extern "C" void requestStop(int signal) {
    const int error = errno;
    if (requestedSignal != 0) {
        std::signal(signal, SIG_DFL);
        std::raise(signal);
    } else {
        requestedSignal = signal;
        // The pipe is empty and never blocks; if it fails all the same, the flag is still there.
        if (write(wakePipe[1], "", 1) < 0) {
            errno = error;
        }
    }
    errno = error;
}

void install(std::size_t index) {
    sigaction(kSignals[index], nullptr, &earlierActions[index]);
    if (earlierActions[index].sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action {};
    action.sa_handler = &requestStop;
    sigemptyset(&action.sa_mask);
    // Not restarted: a camera driver's wait ends with the signal, too.
    action.sa_flags = 0;
    sigaction(kSignals[index], &action, nullptr);
}

}  // namespace

StopRequest::StopRequest() {
    if (pipe2(wakePipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw failedAtWork(std::string("cannot prepare for being stopped: ") + std::strerror(errno));
    }
    requestedSignal = 0;
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        install(i);
    }
}

StopRequest::~StopRequest() {
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], &earlierActions[i], nullptr);
    }
    for (int& end : wakePipe) {
        close(end);
        end = -1;
    }
}

int StopRequest::signal() {
    return requestedSignal;
}

const char* StopRequest::signalName() {
    return signal() == SIGINT ? "SIGINT" : signal() == SIGTERM ? "SIGTERM" : "SIGHUP";
}

bool StopRequest::waitForInput(int descriptor) {
    std::array<pollfd, 2> entries = {{{descriptor, POLLIN, 0}, {wakePipe[0], POLLIN, 0}}};
    while (!isMade()) {
        if (poll(entries.data(), entries.size(), -1) > 0) {
            return !isMade() && entries[0].revents != 0;
        }
    }
    return false;
}

void endBySignal(int signal) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    // Only where the signal is blocked.
    _exit(128 + signal);
}

}  // namespace brellix::app
