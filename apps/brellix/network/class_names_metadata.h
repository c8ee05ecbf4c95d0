#pragma once

/// \file
/// Class names as exporters leave them in a network's metadata.

#include <map>
#include <optional>
#include <string>

namespace brellix::app {

/// Names by class index.
using IndexedNames = std::map<int, std::string>;

/// Reads `{0: 'person', 1: "cat's"}` as Python prints a dictionary, `['person', 'cat']`, and the same as
/// JSON. Nothing is evaluated. \return nothing for any other text, a negative index, or one that stands
/// twice.
std::optional<IndexedNames> parseClassNames(const std::string& text);

}  // namespace brellix::app
