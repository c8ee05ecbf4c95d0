#pragma once

/// \file
/// Floats that arithmetic may stumble over.

#include <initializer_list>
#include <limits>

namespace brellix::testing {

/// NaN, infinities, zeros, huge and tiny values. Seeded tests and the digests of tests/identity draw from
/// this list: what they draw changes with its order.
inline constexpr std::initializer_list<float> kHostileFloats = {
    std::numeric_limits<float>::quiet_NaN(),
    std::numeric_limits<float>::infinity(),
    -std::numeric_limits<float>::infinity(),
    0.0F,
    -0.0F,
    std::numeric_limits<float>::max(),
    std::numeric_limits<float>::lowest(),
    std::numeric_limits<float>::min(),
    std::numeric_limits<float>::denorm_min(),
    2147483648.0F,
    -2147483648.0F,
    1e10F,
    -1e10F,
};

}  // namespace brellix::testing
