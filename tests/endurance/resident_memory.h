#pragma once

/// \file
/// How much memory the process holds.

#include <cstddef>

namespace brellix::testing {

struct MemoryUse {
    std::size_t resident;   ///< bytes of the process in the machine's memory
    std::size_t allocated;  ///< bytes that the C library has given out and not had back
};

/// \throws std::runtime_error where the system does not tell.
MemoryUse memoryUse();

}  // namespace brellix::testing
