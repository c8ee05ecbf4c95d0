// Usage: PROGRAM FRAMES. Runs each model over so many frames and prints one row each on standard output.
// Exit status 0: all is flat; 1: memory grew or results drifted; 2: wrong use; 3: a model did not work.

#include "endurance/cases.h"
#include "endurance/endurance.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <streambuf>
#include <string>

namespace {

using brellix::testing::EnduranceCase;
using brellix::testing::EnduranceResult;

/// What the models print for each frame, nobody reads.
class Nowhere : public std::streambuf {
  protected:
    int overflow(int character) override { return character == EOF ? 0 : character; }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

double mebibytes(std::size_t bytes) {
    return static_cast<double>(bytes) / (1024.0 * 1024.0);
}

/// \return whether the case passed.
bool runCase(const EnduranceCase& which, std::size_t frames) {
    std::fprintf(stderr, "%s: %zu frames ...\n", which.name.c_str(), frames);
    const EnduranceResult result = brellix::testing::endure(which, frames);
    std::printf(
        "%-28s %8zu frames %5zu objects   RSS %8.2f -> %8.2f MiB   heap %10.4f -> %10.4f MiB   "
        "digest %016" PRIx64 " -> %016" PRIx64 "\n",
        which.name.c_str(), result.frames, result.objects, mebibytes(result.start.resident),
        mebibytes(result.end.resident), mebibytes(result.start.allocated), mebibytes(result.end.allocated),
        result.firstDigest, result.lastDigest);
    std::fflush(stdout);
    const auto faults = faultsOf(result);
    for (const std::string& fault : faults) {
        std::fprintf(stderr, "%s: %s\n", which.name.c_str(), fault.c_str());
    }
    return faults.empty();
}

int runAll(std::size_t frames, const char* program) {
    try {
        bool passed = true;
        for (const EnduranceCase& which : brellix::testing::enduranceCases()) {
            passed = runCase(which, frames) && passed;
        }
        return passed ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", program, error.what());
        return 3;
    }
}

}  // namespace

int main(int argc, char** argv) {
    char* end = nullptr;
    const unsigned long frames = argc == 2 ? std::strtoul(argv[1], &end, 10) : 0;
    if (frames == 0 || *end != '\0') {
        std::fprintf(stderr, "usage: %s FRAMES, a number from 1 on\n", argv[0]);
        return 2;
    }
    Nowhere nowhere;
    std::streambuf* const before = std::cout.rdbuf(&nowhere);
    const int status = runAll(frames, argv[0]);
    std::cout.rdbuf(before);
    return status;
}
