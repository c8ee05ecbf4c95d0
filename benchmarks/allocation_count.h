#pragma once

/// \file
/// How often the process has asked for memory.

#include <cstddef>

namespace brellix::bench {

struct Allocations {
    std::size_t count = 0;
    std::size_t bytes = 0;
};

/// Since the process began, all threads together. `mmap` is not counted.
Allocations allocationsSoFar();

}  // namespace brellix::bench
