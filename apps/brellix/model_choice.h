#pragma once

/// \file
/// Which model class a configuration is for.

#include "model_class.h"

#include <string>

namespace brellix::app {

/// Where the name of a model class may stand; empty where it does not.
struct ModelChoice {
    std::string inConfig;     ///< the key "model"
    std::string inArguments;  ///< the option --model
};

/// \return the class that the configuration names, else the option, else what the network's outputs say.
/// Throws `Failure` for an unknown name, and where the outputs belong to no class.
ModelClass chooseModelClass(const ModelChoice& choice, const std::string& configPath,
                            const std::string& networkPath);

}  // namespace brellix::app
