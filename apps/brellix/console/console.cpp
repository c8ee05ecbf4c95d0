#include "console/console.h"

#include "console/text.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace brellix::app {
namespace {

// Where standard error itself fails there is nobody left to tell.
void writeToStandardError(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

bool isCapableTerminal() {
    const char* const term = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && term != nullptr && std::string_view(term) != "dumb";
}

/// A line that wraps could not be erased any more.
std::string_view cutToTerminal(std::string_view text) {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
        return text;
    }
    return text.substr(0, static_cast<std::size_t>(size.ws_col) - 1);
}

}  // namespace

void Console::error(const std::string& message) {
    line("brellix: " + message);
}

void Console::warning(const std::string& message) {
    if (verbosity_ != Verbosity::kQuiet) {
        line("brellix: warning: " + message);
    }
}

void Console::note(const std::string& message) {
    if (verbosity_ != Verbosity::kQuiet) {
        line("brellix: " + message);
    }
}

void Console::detail(const std::string& message) {
    if (verbosity_ == Verbosity::kVerbose) {
        line("brellix: " + message);
    }
}

bool Console::hasStatusLine() const {
    return verbosity_ == Verbosity::kNormal && isCapableTerminal();
}

void Console::showStatusLine(const std::string& text) {
    hideStatusLine();
    writeToStandardError(cutToTerminal(printable(text)));
    statusLineVisible_ = true;
}

void Console::hideStatusLine() {
    if (statusLineVisible_) {
        writeToStandardError("\r\033[K");
        statusLineVisible_ = false;
    }
}

void Console::line(const std::string& text) {
    hideStatusLine();
    writeToStandardError(printable(text) + '\n');
}

}  // namespace brellix::app
