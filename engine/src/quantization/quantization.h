#pragma once

/// \file
/// Affine int8 quantisation of a whole tensor: value = (q - zeroPoint) * scale.

#include <cstddef>
#include <cstdint>

namespace ai_orvo::alg::common {

/// The int8 grid of a tensor. `scale` is positive and finite, `zeroPoint` lies in -128 .. 127.
struct AffineGrid {
    float scale = 1.0F;
    std::int32_t zeroPoint = 0;
};

/// The values a grid has to cover; finite, `minimum <= maximum`.
struct ValueRange {
    float minimum = 0.0F;
    float maximum = 0.0F;
};

/// The range of the finite values; {0, 0} where there is none.
ValueRange finiteRange(const float* values, std::size_t count);

/// The grid whose 256 steps cover `range` and 0; an empty range (only zeros) gets scale 1 and zero point 0.
AffineGrid affineGrid(ValueRange range);

/// The same with zero point 0 and the steps -127 .. 127.
AffineGrid symmetricGrid(ValueRange range);

/// Rounds to the nearest step (ties to even) and saturates; NaN becomes the zero point.
void quantize(const float* values, std::size_t count, AffineGrid grid, std::int8_t* quantized);

/// Moves each value to the step that `quantize` would give it.
void snapToGrid(float* values, std::size_t count, AffineGrid grid);

}  // namespace ai_orvo::alg::common
