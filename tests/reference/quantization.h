#pragma once

/// \file
/// The logistic function and 8-bit affine quantisation.

#include <cstdint>

namespace brellix::reference {

/// Limited to `low`..`high`, then truncated toward zero; NaN gives 0.
int clip(float value, float low, float high);

float sigmoid(float logit);
float unsigmoid(float probability);

/// -128 to 127, truncated toward zero.
int quantize(float value, int zeroPoint, float scale);

float dequantize(std::int8_t q, int zeroPoint, float scale);

}  // namespace brellix::reference
