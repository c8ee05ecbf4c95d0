#include "run_program.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace brellix::testing {
namespace {

void require(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(std::string(what) + " failed");
    }
}

/// A descriptor that is closed with its owner.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) { require(number >= 0, "opening"); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { closeNow(); }
    int number() const { return number_; }
    void closeNow() {
        if (number_ >= 0) {
            close(std::exchange(number_, -1));
        }
    }

  private:
    int number_;
};

/// A file without a name: unlike a pipe it never fills up while nobody reads.
int openNamelessFile() {
    std::string name = "/tmp/brellix_process_test_XXXXXX";
    const int descriptor = mkostemp(name.data(), O_CLOEXEC);
    unlink(name.c_str());
    return descriptor;
}

std::string contentOf(int descriptor) {
    lseek(descriptor, 0, SEEK_SET);
    std::string content;
    std::array<char, 4096> part{};
    for (ssize_t size = 0; (size = read(descriptor, part.data(), part.size())) > 0;) {
        content.append(part.data(), static_cast<std::size_t>(size));
    }
    return content;
}

void writeAll(int descriptor, const std::string& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t size = write(descriptor, bytes.data() + done, bytes.size() - done);
        require(size > 0, "write");
        done += static_cast<std::size_t>(size);
    }
}

int openFileWith(const std::string& content) {
    const int descriptor = openNamelessFile();
    writeAll(descriptor, content);
    lseek(descriptor, 0, SEEK_SET);
    return descriptor;
}

/// The end that is read, and the one that is written.
std::array<int, 2> openPipe() {
    std::array<int, 2> ends{};
    require(pipe2(ends.data(), O_CLOEXEC) == 0, "pipe2");
    return ends;
}

int openPipeWithoutReader() {
    const std::array<int, 2> ends = openPipe();
    close(ends[0]);
    return ends[1];
}

int openStandardOutput(StandardOutput kind) {
    switch (kind) {
        case StandardOutput::kFullDisk:
            return open("/dev/full", O_WRONLY | O_CLOEXEC);
        case StandardOutput::kPipeWithoutReader:
            return openPipeWithoutReader();
        default:
            return openNamelessFile();
    }
}

/// Where standard error goes, and where the test reads it.
struct StandardError {
    int childEnd = -1;
    int testEnd = -1;
};

StandardError openStandardError(bool asTerminal) {
    StandardError ends;
    if (asTerminal) {
        winsize size{24, 80, 0, 0};
        require(openpty(&ends.testEnd, &ends.childEnd, nullptr, nullptr, &size) == 0, "openpty");
        fcntl(ends.testEnd, F_SETFD, FD_CLOEXEC);
        fcntl(ends.childEnd, F_SETFD, FD_CLOEXEC);
    } else {
        ends.testEnd = openNamelessFile();
        ends.childEnd = dup(ends.testEnd);
    }
    return ends;
}

/// The file actions of one spawn.
class FileActions {
  public:
    FileActions() { posix_spawn_file_actions_init(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
    posix_spawn_file_actions_t* get() { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_{};
};

/// The attributes of a spawn in which signals do what they do in a shell, whatever the test's own parent
/// ignores.
class SpawnAttributes {
  public:
    SpawnAttributes() {
        posix_spawnattr_init(&attributes_);
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGXFSZ}) {
            sigaddset(&signals, signal);
        }
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
    }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
    const posix_spawnattr_t* get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_{};
};

pid_t spawnProgram(const std::vector<std::string>& arguments, FileActions& actions) {
    std::vector<std::string> words = {BRELLIX_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    const SpawnAttributes attributes;
    pid_t child = -1;
    require(posix_spawn(&child, BRELLIX_PROGRAM, actions.get(), attributes.get(), argv.data(), environ) == 0,
            "posix_spawn");
    return child;
}

int exitStatusOf(pid_t child) {
    int status = 0;
    require(waitpid(child, &status, 0) == child, "waitpid");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

constexpr int kPatienceMs = 120000;

}  // namespace

ProgramResult runProgram(const std::vector<std::string>& arguments, const ProgramSetup& setup) {
    setenv("TERM", "xterm", 1);
    const Descriptor in(setup.standardInputPath.empty()
                            ? openFileWith(setup.standardInput)
                            : open(setup.standardInputPath.c_str(), O_RDONLY | O_CLOEXEC));
    const Descriptor out(openStandardOutput(setup.standardOutput));
    const StandardError errorEnds = openStandardError(setup.standardErrorIsTerminal);
    const Descriptor err(errorEnds.testEnd);
    FileActions actions;
    posix_spawn_file_actions_adddup2(actions.get(), in.number(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(actions.get(), out.number(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(actions.get(), errorEnds.childEnd, STDERR_FILENO);
    if (setup.standardOutput == StandardOutput::kClosed) {
        posix_spawn_file_actions_addclose(actions.get(), STDOUT_FILENO);
    }
    posix_spawn_file_actions_addchdir_np(actions.get(), setup.workingDirectory.c_str());

    ProgramResult result;
    const pid_t child = spawnProgram(arguments, actions);
    // Without a writer left in this process the reading ends with the child.
    close(errorEnds.childEnd);
    result.status = exitStatusOf(child);
    result.out = setup.standardOutput == StandardOutput::kCaught ? contentOf(out.number()) : std::string();
    result.err = contentOf(err.number());
    return result;
}

struct RunningProgram::Child {
    Descriptor in;
    Descriptor out;
    Descriptor err;
    pid_t process;
    std::string unread;

    /// Reads more of the child's output. \return false at its end.
    bool readMore() {
        pollfd entry{out.number(), POLLIN, 0};
        require(poll(&entry, 1, kPatienceMs) > 0, "waiting for the program's output");
        std::array<char, 4096> part{};
        const ssize_t size = read(out.number(), part.data(), part.size());
        unread.append(part.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        return size > 0;
    }
};

RunningProgram::RunningProgram(const std::vector<std::string>& arguments,
                               const std::string& workingDirectory) {
    std::signal(SIGPIPE, SIG_IGN);
    const std::array<int, 2> in = openPipe();
    const std::array<int, 2> out = openPipe();
    const Descriptor childIn(in[0]);
    const Descriptor childOut(out[1]);
    const int err = openNamelessFile();
    FileActions actions;
    posix_spawn_file_actions_adddup2(actions.get(), childIn.number(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(actions.get(), childOut.number(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(actions.get(), err, STDERR_FILENO);
    posix_spawn_file_actions_addchdir_np(actions.get(), workingDirectory.c_str());
    child_.reset(new Child{Descriptor(in[1]), Descriptor(out[0]), Descriptor(err),
                           spawnProgram(arguments, actions), std::string()});
}

RunningProgram::~RunningProgram() {
    if (child_->process > 0) {
        kill(child_->process, SIGKILL);
        waitpid(child_->process, nullptr, 0);
    }
}

void RunningProgram::write(const std::string& bytes) {
    writeAll(child_->in.number(), bytes);
}

std::string RunningProgram::nextLine() {
    std::size_t end = 0;
    while ((end = child_->unread.find('\n')) == std::string::npos) {
        require(child_->readMore(), "another line of the program's output");
    }
    const std::string line = child_->unread.substr(0, end);
    child_->unread.erase(0, end + 1);
    return line;
}

void RunningProgram::signal(int number) {
    kill(child_->process, number);
}

void RunningProgram::waitUntilOutputIsFull() {
    // Lines do not cross the pages that a pipe is made of, so the last bytes of each stay unused.
    const int nearlyAll = fcntl(child_->out.number(), F_GETPIPE_SZ) * 9 / 10;
    int waiting = 0;
    for (int tries = 0; waiting < nearlyAll; ++tries) {
        // Ready without anything asked for: the other end is closed, and no more will come.
        pollfd entry{child_->out.number(), 0, 0};
        require(tries < kPatienceMs && poll(&entry, 1, 1) == 0, "waiting for a full pipe");
        require(ioctl(child_->out.number(), FIONREAD, &waiting) == 0, "FIONREAD");
    }
}

void RunningProgram::stopReading() {
    child_->out.closeNow();
}

ProgramResult RunningProgram::waitForEnd() {
    while (child_->out.number() >= 0 && child_->readMore()) {
    }
    ProgramResult result;
    result.status = exitStatusOf(std::exchange(child_->process, -1));
    result.out = child_->unread;
    result.err = contentOf(child_->err.number());
    return result;
}

ProgramResult RunningProgram::finish() {
    child_->in.closeNow();
    return waitForEnd();
}

}  // namespace brellix::testing
