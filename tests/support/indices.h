#pragma once

/// \file
/// Lists of indices.

#include <cstddef>
#include <numeric>
#include <vector>

namespace brellix::testing {

/// 0, 1, 2 and so on: `count` of them.
inline std::vector<int> countingFrom0(std::size_t count) {
    std::vector<int> indices(count);
    std::iota(indices.begin(), indices.end(), 0);
    return indices;
}

}  // namespace brellix::testing
