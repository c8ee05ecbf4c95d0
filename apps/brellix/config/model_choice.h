#pragma once

/// \file
/// Which model class a configuration is for.

#include "console/finding.h"
#include "network/model_class.h"
#include "network/network_facts.h"

#include <optional>
#include <string>

namespace brellix::app {

/// Where the name of a model class may stand; empty where it does not.
struct ModelChoice {
    std::string inConfig;     ///< the key "model"
    std::string inArguments;  ///< the option --model
};

/// \param findings receives an error where nobody names a class and the outputs belong to none.
/// \return the class that the configuration names, else the option, else what the network's outputs say;
///         nothing after that error.
/// Throws `Failure` for an unknown name, and where the class has to be guessed from a network that cannot be
/// read.
std::optional<ModelClass> chooseModelClass(const ModelChoice& choice, const std::string& configPath,
                                           const NetworkFacts& network, Findings& findings);

}  // namespace brellix::app
