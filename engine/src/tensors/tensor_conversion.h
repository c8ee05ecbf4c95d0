#pragma once

/// \file
/// From camera bytes to the tensor that a float network takes.

#include <cstddef>
#include <cstdint>

namespace ai_orvo::alg::common {

/// Splits an interleaved 8-bit image (height x width x 3) into three planes of floats, value x 1/255.
/// The order of the channels stays. \param pixels pixelCount * 3 bytes; \param planes as many floats.
void imageToPlanes(const std::uint8_t* pixels, std::size_t pixelCount, float* planes);

}  // namespace ai_orvo::alg::common
