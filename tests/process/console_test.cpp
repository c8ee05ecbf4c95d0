#include "console/console.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>

namespace brellix::testing {
namespace {

using app::Console;

/// A pipe stands in the place of standard error for as long as one lives.
class CaughtMessages {
  public:
    CaughtMessages() : own_(dup(STDERR_FILENO)) {
        EXPECT_EQ(pipe2(ends_.data(), O_CLOEXEC), 0);
        dup2(ends_[1], STDERR_FILENO);
        fcntl(ends_[0], F_SETFL, O_NONBLOCK);
    }
    CaughtMessages(const CaughtMessages&) = delete;
    CaughtMessages& operator=(const CaughtMessages&) = delete;
    ~CaughtMessages() {
        dup2(own_, STDERR_FILENO);
        for (const int descriptor : {own_, ends_[0], ends_[1]}) {
            close(descriptor);
        }
    }

    int readEnd() const { return ends_[0]; }

    /// Afterwards it takes nothing more until it is read.
    void fill() const {
        fcntl(ends_[1], F_SETFL, O_NONBLOCK);
        while (write(ends_[1], ".", 1) == 1) {
        }
        fcntl(ends_[1], F_SETFL, 0);
    }

    std::string text() const {
        std::string all;
        std::array<char, 4096> part{};
        for (ssize_t size = 0; (size = read(ends_[0], part.data(), part.size())) > 0;) {
            all.append(part.data(), static_cast<std::size_t>(size));
        }
        return all;
    }

  private:
    int own_;
    std::array<int, 2> ends_{};
};

// What the handler reaches.
volatile std::sig_atomic_t alarms = 0;
volatile std::sig_atomic_t pipeToEmpty = -1;

/// Many alarms interrupt the writing before one makes room for it; those after that one read nothing.
extern "C" void emptyPipeAtLast(int /*signal*/) {
    constexpr int kLast = 20;
    const int errorBefore = errno;
    alarms = alarms + 1;
    std::array<char, 4096> part;
    while (alarms == kLast && read(pipeToEmpty, part.data(), part.size()) > 0) {
    }
    errno = errorBefore;
}

void repeatAlarm(suseconds_t microseconds) {
    const itimerval interval = {{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_REAL, &interval, nullptr);
}

TEST(Console, ASignalDuringTheWritingLosesNoMessage) {
    const CaughtMessages caught;
    caught.fill();
    alarms = 0;
    pipeToEmpty = caught.readEnd();
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = &emptyPipeAtLast;
    sigaction(SIGALRM, &action, &before);
    repeatAlarm(5000);
    Console().error("heard");
    repeatAlarm(0);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_NE(caught.text().find("brellix: heard\n"), std::string::npos);
}

TEST(Console, WhatTerminalsObeyBecomesQuestionMarks) {
    const CaughtMessages caught;
    Console console;
    console.note("a\x1b]0;b\n");
    EXPECT_EQ(caught.text(), "brellix: a?]0;b?\n");
    console.showStatusLine("a\x1b]0;b\x07");
    EXPECT_EQ(caught.text(), "a?]0;b?");
}

}  // namespace
}  // namespace brellix::testing
