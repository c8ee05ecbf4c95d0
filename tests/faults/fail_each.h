#pragma once

/// \file
/// Letting each allocation of some work fail in turn.

#include "faults/failing_allocator.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace brellix::testing {

/// Something to do again and again, the same each time. It tells a lack of memory by `std::bad_alloc` or by a
/// `cv::Exception` that says so. \return a digest of what came out.
using Work = std::function<std::uint64_t()>;

/// Lets the first allocation of `work` fail, then the second, and so on until a run needs fewer. Fails the
/// test where a run neither tells nor gives the right result, where the next one is not right, or where
/// memory is lost.
/// \return how many allocations the work has.
std::size_t failEach(Shortage shortage, const Work& work);

}  // namespace brellix::testing
