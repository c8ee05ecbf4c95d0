// The models end the process with status 0 where a framework is unknown, and such an end in the middle of a
// test would look like success: everything behind it would be left out, and nobody told. Every test program
// is linked with this.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

namespace {

using ::testing::UnitTest;

/// The process that runs the tests. Children of theirs may end as they like: death tests want them to.
pid_t testProcess = 0;

void failWithinATest() {
    if (getpid() == testProcess && UnitTest::GetInstance()->current_test_suite() != nullptr) {
        std::cerr << "the process ended in the middle of a test" << std::endl;
        std::_Exit(EXIT_FAILURE);
    }
}

/// GoogleTest's instance is made first, so that it is still there when the handler runs.
[[maybe_unused]] const bool isWatched = [] {
    UnitTest::GetInstance();
    testProcess = getpid();
    return std::atexit(failWithinATest) == 0;
}();

}  // namespace
