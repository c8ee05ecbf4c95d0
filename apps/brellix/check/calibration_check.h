#pragma once

/// \file
/// The calibration file beside a network against the model that reads its bytes.

#include "config/model_config_check.h"
#include "network/tensor_comparison.h"

namespace brellix::app {

/// Appends whether the file is readable, covers the outputs, and keeps mask coefficients symmetric.
void judgeCalibration(const CheckedConfig& checked, const TensorRows& rows, Findings& findings);

}  // namespace brellix::app
