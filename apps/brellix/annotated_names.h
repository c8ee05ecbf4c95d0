#pragma once

/// \file
/// File names for annotated copies.

#include <string>
#include <vector>

namespace brellix::app {

/// \return for each source the file name of its annotated copy, no two alike: the source's own name where
///         it is a PNG or JPEG file, else with the extension .png; sources of the same name become
///         "name.png", "name-2.png", "name-3.png" in their order.
std::vector<std::string> annotatedNames(const std::vector<std::string>& sources);

}  // namespace brellix::app
