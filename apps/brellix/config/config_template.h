#pragma once

/// \file
/// The text of a configuration with a comment for each key.

#include "network/class_names_metadata.h"
#include "network/expected_tensors.h"

#include <string>

namespace brellix::app {

struct ConfigTemplate {
    ModelSettings settings;
    std::string modelPath;
    IndexedNames names;
    std::string namesOrigin;  ///< where the names come from, in words
};

/// \return the YAML file.
std::string configText(const ConfigTemplate& content);

/// \return `text` as a double-quoted scalar of YAML. Bytes that are no UTF-8 become U+FFFD.
std::string yamlQuoted(const std::string& text);

}  // namespace brellix::app
