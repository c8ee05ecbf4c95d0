#pragma once

/// \file
/// The bytes that go into the engine.

#include <opencv2/core.hpp>

#include <cstdint>
#include <vector>

namespace brellix::reference {

/// Red and blue exchanged where `swapRedBlue`, scaled to 0..1, one plane a channel, float32.
std::vector<std::int8_t> floatBlob(const cv::Mat& letterboxed, bool swapRedBlue);

/// The pixels as they lie in the matrix, row by row.
std::vector<std::int8_t> rawBytes(const cv::Mat& letterboxed);

}  // namespace brellix::reference
