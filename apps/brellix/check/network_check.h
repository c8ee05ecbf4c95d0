#pragma once

/// \file
/// A configuration against its network, before anything is constructed.

#include "config/model_config_check.h"
#include "network/tensor_comparison.h"

#include <string>

namespace brellix::app {

/// Everything that was compared, as data.
struct CheckReport {
    std::string configPath;
    std::string networkPath;
    std::string modelClass;  ///< empty where it could not be found out
    TensorRows tensors;      ///< empty for a network that is no ONNX file
    Findings findings;

    bool fits() const { return !holds(findings, Severity::kError); }
};

/// \param usesCalibration false for a run in which the calibration file has no say.
CheckReport checkNetwork(const CheckedConfig& checked, bool usesCalibration);

}  // namespace brellix::app
