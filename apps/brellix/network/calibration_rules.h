#pragma once

/// \file
/// What a measured range of an output becomes in the calibration file.

#include "network/model_class.h"

#include <quantization/calibration.h>

#include <string>

namespace brellix::app {

/// \return whether the output holds mask coefficients. Their decoder takes the zero point off in 8 bits,
///         where any other than 0 wraps the largest values.
bool holdsMaskCoefficients(ModelClass modelClass, const std::string& tensor);

/// \return the entry of the output `tensor` with the values `measured`. Mask coefficients become symmetric,
///         tensors with scores reach up to at least 8, and 0 lies inside every range.
ai_orvo::alg::common::CalibratedTensor calibratedTensor(ModelClass modelClass, const std::string& tensor,
                                                        ai_orvo::alg::common::ValueRange measured);

}  // namespace brellix::app
