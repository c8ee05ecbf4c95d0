#pragma once

/// \file
/// What a fuzz target defines, and what runs it: libFuzzer, or the replay's own main.

#include <cstddef>
#include <cstdint>

/// Handles one input. Returns 0; anything that has gone wrong ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

/// Called once before the first input.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
