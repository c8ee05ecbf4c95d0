#pragma once

/// \file
/// Catching what code writes to standard output, through streams and through stdio.

#include <gtest/gtest.h>

#include <iostream>
#include <string>

namespace brellix::testing {

/// \return what `action` wrote to standard output.
template <typename Action>
std::string standardOutputOf(Action&& action) {
    std::cout.flush();
    ::testing::internal::CaptureStdout();
    try {
        action();
    } catch (...) {
        ::testing::internal::GetCapturedStdout();
        throw;
    }
    std::cout.flush();
    return ::testing::internal::GetCapturedStdout();
}

}  // namespace brellix::testing
