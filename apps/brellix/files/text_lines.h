#pragma once

/// \file
/// Reading text files as people and their editors write them.

#include <string>
#include <vector>

namespace brellix::app {

/// \return the lines of the text file at `path`, without the ends that they have on Linux or Windows and
///         without a byte order mark. The file is read once from its begin to its end, so that it may be a
///         pipe. Throws `Failure` that names the path, called `what`, where it cannot be read.
std::vector<std::string> readTextLines(const std::string& path, const std::string& what);

}  // namespace brellix::app
