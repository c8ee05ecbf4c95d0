#include "run_program.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace brellix::testing {
namespace {

TEST(RunningProgram, ThatEndsEarlyIsNotWaitedForToFillItsOutput) {
    RunningProgram program({"--version"}, ".");
    EXPECT_THROW(program.waitUntilOutputIsFull(), std::runtime_error);
}

}  // namespace
}  // namespace brellix::testing
