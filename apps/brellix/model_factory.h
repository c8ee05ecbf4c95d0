#pragma once

/// \file
/// Building the model of a configuration.

#include "model_config_check.h"

#include <brellix/cv_model.h>

#include <memory>

namespace brellix::app {

/// Builds the model of a checked configuration.
/// Throws `Failure` where the constructor or the engine refuses.
std::unique_ptr<ai_orvo::model::CvModel> buildModel(const ModelConfig& config);

}  // namespace brellix::app
