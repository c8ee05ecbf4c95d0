#include "run_program.h"

#include <fcntl.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

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
    ~Descriptor() { close(number_); }
    int number() const { return number_; }

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

int openPipeWithoutReader() {
    std::array<int, 2> ends{};
    require(pipe2(ends.data(), O_CLOEXEC) == 0, "pipe2");
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

pid_t spawnProgram(const std::vector<std::string>& arguments, FileActions& actions) {
    std::vector<std::string> words = {BRELLIX_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    pid_t child = -1;
    require(posix_spawn(&child, BRELLIX_PROGRAM, actions.get(), nullptr, argv.data(), environ) == 0,
            "posix_spawn");
    return child;
}

int exitStatusOf(pid_t child) {
    int status = 0;
    require(waitpid(child, &status, 0) == child, "waitpid");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

ProgramResult runProgram(const std::vector<std::string>& arguments, const ProgramSetup& setup) {
    setenv("TERM", "xterm", 1);
    const Descriptor out(openStandardOutput(setup.standardOutput));
    const StandardError errorEnds = openStandardError(setup.standardErrorIsTerminal);
    const Descriptor err(errorEnds.testEnd);
    FileActions actions;
    posix_spawn_file_actions_addopen(actions.get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
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

}  // namespace brellix::testing
