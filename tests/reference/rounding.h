#pragma once

/// \file
/// Conversions from float to int that mean the same on every processor.

namespace brellix::reference {

/// Toward zero; beyond the range of int the nearest int; NaN gives 0.
int truncateTowardZero(float value);

/// Half away from zero; beyond the range of int the nearest int; NaN gives 0.
int roundHalfAwayFromZero(float value);

/// Not greater than 0 gives 0 (so does NaN); not less than `bound` gives `bound`.
float limitToRange(float value, float bound);

}  // namespace brellix::reference
