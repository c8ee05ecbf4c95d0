#pragma once

/// \file
/// Building the model of a configuration.

#include "config/model_config_check.h"

#include <brellix/cv_model.h>

#include <functional>
#include <memory>

namespace brellix::app {

/// Sees the engine's outputs of each picture before the model decodes them.
using OutputTap = std::function<void(const ai_orvo::model::TensorMap&)>;

/// Builds the model of a checked configuration.
/// Throws `Failure` where the constructor or the engine refuses.
/// \param tap called on each `detect`, unless it is empty.
std::unique_ptr<ai_orvo::model::CvModel> buildModel(const ModelConfig& config, const OutputTap& tap = {});

}  // namespace brellix::app
