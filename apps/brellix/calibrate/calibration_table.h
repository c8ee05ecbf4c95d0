#pragma once

/// \file
/// A calibration for people.

#include <quantization/calibration.h>

#include <string>

namespace brellix::app {

/// \return one row a tensor: the range, and the 8-bit grid that covers it.
std::string calibrationTable(const ai_orvo::alg::common::Calibration& calibration);

}  // namespace brellix::app
