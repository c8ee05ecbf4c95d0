#pragma once

/// \file
/// Runs the program in a child process and catches what it says.

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
    StandardOutput standardOutput = StandardOutput::kCaught;
    bool standardErrorIsTerminal = false;
};

/// Runs `brellix` with `arguments`, standard input at its end, to the end.
ProgramResult runProgram(const std::vector<std::string>& arguments, const ProgramSetup& setup);

}  // namespace brellix::testing
