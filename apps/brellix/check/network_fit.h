#pragma once

/// \file
/// Why a network's tensors are others than the configuration asks for.

#include "config/model_config_check.h"
#include "network/network_recognition.h"
#include "network/tensor_comparison.h"

#include <string>

namespace brellix::app {

/// Appends the causes (kind of network, input size, class count, layout), and each tensor that differs for
/// none of them.
/// \return false for a network of another kind, whose input size and class count say nothing to the model.
bool judgeFit(const CheckedConfig& checked, const Recognition& recognition, const TensorRows& rows,
              Findings& findings);

/// \return how to get the network into a form that the model can run on.
std::string exportFix(const CheckedConfig& checked, const Recognition& recognition);

}  // namespace brellix::app
