#pragma once

/// \file
/// How many values of 8-bit outputs lie at the ends of their grid, where larger ones were cut off.

#include <brellix/cv_model.h>

#include <cstdint>
#include <map>
#include <string>

namespace brellix::app {

struct ByteCount {
    std::uint64_t bytes = 0;
    std::uint64_t lowest = 0;   ///< that are -128
    std::uint64_t highest = 0;  ///< that are 127

    double saturatedShare() const;
};

/// By the tensor's name.
using ByteCounts = std::map<std::string, ByteCount>;

/// \return the counts of the 8-bit ones among the tensors.
ByteCounts countBytes(const ai_orvo::model::TensorMap& tensors);

/// Adds `more` to `total`.
void addCounts(const ByteCounts& more, ByteCounts& total);

}  // namespace brellix::app
