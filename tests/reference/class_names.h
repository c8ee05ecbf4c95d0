#pragma once

/// \file
/// The class-name text file.

#include <string>
#include <vector>

namespace brellix::reference {

/// The labels in a file's whole content: the pieces between line feeds, unchanged. The empty piece behind a
/// final line feed is none.
std::vector<std::string> labelsOf(const std::string& content);

}  // namespace brellix::reference
