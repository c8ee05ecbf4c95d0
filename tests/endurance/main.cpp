// Usage: PROGRAM FRAMES [--emulated]. Runs each model over so many frames and prints one row each on standard
// output. --emulated: resident memory may grow, for it holds the emulator's own, and qemu-user keeps some 1.8
// KB of each mapping that is long gone; what the C library has given out is held all the same.
//
// Exit status 0: all is flat; 1: memory grew or results drifted; 2: wrong use; 3: a model did not work.

#include "endurance/cases.h"
#include "endurance/endurance.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <limits>
#include <streambuf>
#include <string>

namespace {

using brellix::testing::EnduranceCase;
using brellix::testing::EnduranceLimits;
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
bool runCase(const EnduranceCase& which, std::size_t frames, const EnduranceLimits& limits) {
    std::fprintf(stderr, "%s: %zu frames ...\n", which.name.c_str(), frames);
    const EnduranceResult result = brellix::testing::endure(which, frames);
    std::printf(
        "%-28s %8zu frames %5zu objects   RSS %8.2f -> %8.2f MiB   heap %10.4f -> %10.4f MiB   "
        "digest %016" PRIx64 " -> %016" PRIx64 "\n",
        which.name.c_str(), result.frames, result.objects, mebibytes(result.start.resident),
        mebibytes(result.end.resident), mebibytes(result.start.allocated), mebibytes(result.end.allocated),
        result.firstDigest, result.lastDigest);
    std::fflush(stdout);
    const auto faults = faultsOf(result, limits);
    for (const std::string& fault : faults) {
        std::fprintf(stderr, "%s: %s\n", which.name.c_str(), fault.c_str());
    }
    return faults.empty();
}

int runAll(std::size_t frames, const EnduranceLimits& limits, const char* program) {
    try {
        bool passed = true;
        for (const EnduranceCase& which : brellix::testing::enduranceCases()) {
            passed = runCase(which, frames, limits) && passed;
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
    const unsigned long frames = argc > 1 ? std::strtoul(argv[1], &end, 10) : 0;
    const bool isEmulated = argc == 3 && std::strcmp(argv[2], "--emulated") == 0;
    if (frames == 0 || *end != '\0' || argc > (isEmulated ? 3 : 2)) {
        std::fprintf(stderr, "usage: %s FRAMES [--emulated], a number from 1 on\n", argv[0]);
        return 2;
    }
    EnduranceLimits limits;
    if (isEmulated) {
        limits.resident = std::numeric_limits<std::size_t>::max();
    }
    Nowhere nowhere;
    std::streambuf* const before = std::cout.rdbuf(&nowhere);
    const int status = runAll(frames, limits, argv[0]);
    std::cout.rdbuf(before);
    return status;
}
