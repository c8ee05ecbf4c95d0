#pragma once

/// \file
/// Distances to the four sides of a box from their distributions.

#include <vector>

namespace brellix::reference {

/// The expected bin of each of the four distributions. Below one bin `out` is left alone.
/// \throws std::out_of_range for fewer than 4 * dflLen logits.
void computeDfl(const std::vector<float>& logits, int dflLen, float out[4]);

}  // namespace brellix::reference
