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

/// Whether two floats have the same bits; one NaN is like another.
bool sameFloat(float a, float b);

/// The same for `count` floats.
bool sameFloats(const float* a, const float* b, std::size_t count);

}  // namespace brellix::fuzz
