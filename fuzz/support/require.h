#pragma once

/// \file
/// What a target holds for true of every input.

#include <gtest/gtest.h>

#include <string>

namespace brellix::fuzz {

/// Ends the process as a crash, which the fuzzer and the replay report as a finding, where `holds` is false.
void require(bool holds, const std::string& what);

/// The same for a comparison, with what differs.
void require(const ::testing::AssertionResult& result, const std::string& what);

}  // namespace brellix::fuzz
