#pragma once

/// \file
/// The percentiles that are said of times and of differences.

#include <vector>

namespace brellix::app {

/// \return the smallest value that `share` of all values do not exceed (the nearest rank).
/// \param sorted the smallest value first; at least one.
/// \param share  0 to 1.
double percentile(const std::vector<double>& sorted, double share);

}  // namespace brellix::app
