#pragma once

/// \file
/// The logistic function, its inverse, and affine 8-bit quantisation: value = (q - zp) * scale, the scheme of
/// "Quantization and Training of Neural Networks for Efficient Integer-Arithmetic-Only Inference" (Jacob et
/// al., 2018) with one scale and one zero point a tensor.
///
/// All of these are pure: no state, no errors, safe from several threads. Which of them a decoder uses where
/// is told in docs/numerics.md.

#include "brellix/export.h"

namespace ai_orvo::model {

/// `val` held inside [min, max], then truncated toward zero. NaN gives 0; bounds beyond int saturate.
BRELLIX_API int __clip(float val, float min, float max);

/// 1 / (1 + e^-x): the exponential in single, the rest in double precision. `sigmoid(-100)` is exactly 0.
BRELLIX_API float sigmoid(float x);

/// The inverse of `sigmoid`: -log(1 / y - 1). Infinite at 0 and 1, NaN outside [0, 1].
BRELLIX_API float unsigmoid(float y);

/// The 8-bit value that stands for `f`, -128 to 127, truncated toward zero and not rounded: decoders compare
/// thresholds quantised this way with raw tensor bytes. NaN gives 0.
BRELLIX_API int qntF32ToAffine(float f, int zp, float scale);

/// The real value that `q` stands for.
BRELLIX_API float deqntAffineToF32(signed char q, int zp, float scale);

}  // namespace ai_orvo::model
