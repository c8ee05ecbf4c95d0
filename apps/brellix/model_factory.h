#pragma once

/// \file
/// The model classes by name, and how one is built.

#include "model_config_check.h"

#include <brellix/cv_model.h>

#include <memory>
#include <string>
#include <vector>

namespace brellix::app {

/// \return the names that "model" and --model take.
std::vector<std::string> modelClassNames();

/// Builds the model of a checked configuration. Its class is the key "model", else `requestedClass` (the
/// option; empty for none), else a guess.
/// Throws `Failure` for an unknown class, and where the constructor or the engine refuses.
std::unique_ptr<ai_orvo::model::CvModel> buildModel(const ModelConfig& config,
                                                    const std::string& requestedClass);

}  // namespace brellix::app
