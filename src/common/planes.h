#pragma once

/// \file
/// From interleaved bytes to planes of floats between 0 and 1.

#include <opencv2/core.hpp>

#include <array>
#include <cstddef>

namespace ai_orvo::model {

/// A single-precision factor: dividing by 255 would give other low bits.
inline constexpr float kUnitScale = 1.0F / 255.0F;

/// A byte as a value from 0 to 1.
inline float unitValue(int byte) {
    return static_cast<float>(byte) * kUnitScale;
}

/// Writes `count` pixels of three bytes as one value in each of three planes.
/// \param step bytes from a pixel to the next, at least 3.
void splitToUnitPlanes(const uchar* pixels, std::size_t step, std::size_t count,
                       const std::array<float*, 3>& planes);

}  // namespace ai_orvo::model
