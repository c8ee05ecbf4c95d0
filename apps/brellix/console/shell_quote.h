#pragma once

/// \file
/// Commands that a person can copy into a shell.

#include <string>

namespace brellix::app {

/// \return `argument` as one word of a POSIX shell; plain words stay as they are.
std::string shellQuoted(const std::string& argument);

/// \return the same for a path, which must not be taken for an option: one that begins with a dash gets "./".
std::string shellQuotedPath(const std::string& path);

}  // namespace brellix::app
