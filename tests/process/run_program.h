#pragma once

/// \file
/// Runs the program in a child process and catches what it says.

#include <memory>
#include <string>
#include <vector>

namespace brellix::testing {

struct ProgramResult {
    int status = -1;  ///< exit status; 128 + signal number where a signal ended it
    std::string out;  ///< standard output
    std::string err;  ///< standard error
};

/// What the child's standard output is.
enum class StandardOutput { kCaught, kClosed, kFullDisk, kPipeWithoutReader };

struct ProgramSetup {
    std::string workingDirectory;
    std::string standardInput;      ///< all that the child can read
    std::string standardInputPath;  ///< what it reads in place of that, where it is not empty
    StandardOutput standardOutput = StandardOutput::kCaught;
    bool standardErrorIsTerminal = false;
};

/// Runs `brellix` with `arguments` to the end.
ProgramResult runProgram(const std::vector<std::string>& arguments, const ProgramSetup& setup);

/// `brellix` in a child process that reads what the test writes, while it runs.
class RunningProgram {
  public:
    RunningProgram(const std::vector<std::string>& arguments, const std::string& workingDirectory);
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;
    ~RunningProgram();

    /// Writes to the child's standard input, which stays open.
    void write(const std::string& bytes);

    /// Waits for the next whole line of the child's standard output and returns it without its end.
    std::string nextLine();

    void signal(int number);

    /// Waits until the pipe of the child's standard output hardly takes any more. Throws
    /// `std::runtime_error` where the child ends before.
    void waitUntilOutputIsFull();

    /// Closes the reading end of the child's standard output.
    void stopReading();

    /// Closes the child's standard input and waits for its end.
    /// \return what it said; of standard output what no `nextLine` has returned.
    ProgramResult finish();

    /// Waits for its end while its standard input stays open.
    ProgramResult waitForEnd();

  private:
    struct Child;

    std::unique_ptr<Child> child_;
};

}  // namespace brellix::testing
