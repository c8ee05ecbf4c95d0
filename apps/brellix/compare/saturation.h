#pragma once

/// \file
/// How many values of 8-bit outputs lie at the ends of their grid, and how many were cut off there.

#include <brellix/cv_model.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace brellix::app {

struct ByteCount {
    std::uint64_t bytes = 0;
    std::uint64_t lowest = 0;   ///< that are -128
    std::uint64_t highest = 0;  ///< that are 127

    /// Values beyond the grid; nothing where they are not known.
    std::optional<std::uint64_t> cutOff;

    /// The share of those at either end, which may stand for values that lie there, from 0 to 1.
    double saturatedShare() const;
};

/// By the tensor's name.
using ByteCounts = std::map<std::string, ByteCount>;

/// \return the counts of the 8-bit ones among the tensors.
/// \param floats tensors from the same picture: one of floats with the name and size of an 8-bit one tells how
///               many of its values lie beyond that one's grid.
ByteCounts countBytes(const ai_orvo::model::TensorMap& tensors, const ai_orvo::model::TensorMap& floats);

/// Adds `more` to `total`.
void addCounts(const ByteCounts& more, ByteCounts& total);

}  // namespace brellix::app
