#pragma once

/// \file
/// Where a path really leads.

#include <filesystem>

namespace brellix::app {

/// \return the absolute path without links and detours, as far as it exists; the rest of it follows as it
///         stands. A path that cannot be followed is made absolute only.
std::filesystem::path realPath(const std::filesystem::path& path);

}  // namespace brellix::app
