#pragma once

/// \file
/// Allocations that fail on demand, in the shared libraries too.
///
/// The test program defines the C library's functions for memory, or `operator new` alone where a sanitizer
/// already has the former. Pages that the kernel is asked for (`mmap`) count as an allocation like others.

#include <cstddef>

#include "support/sanitizers.h"

namespace brellix::testing {

/// Whether a sanitizer owns `malloc`: then only `operator new` can fail, and leaks are its own business.
constexpr bool kSanitized = BRELLIX_ADDRESS_SANITIZER || BRELLIX_THREAD_SANITIZER;

/// How many allocations fail.
enum class Shortage { kOneAllocation, kAllFromThere };

/// Lets allocations of the calling thread fail while it lives, beginning with the `nth`, counted from 1.
class AllocationFailure {
  public:
    AllocationFailure(std::size_t nth, Shortage shortage);
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;
    ~AllocationFailure();

    /// Lets no further allocation fail. \return whether one has.
    static bool end();
};

/// Blocks that are allocated and not yet released, of all threads; 0 where `kSanitized`.
long liveBlocks();

}  // namespace brellix::testing
