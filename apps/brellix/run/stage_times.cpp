#include "run/stage_times.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace brellix::app {
namespace {

/// The smallest value that `share` of all values do not exceed.
double percentile(const std::vector<double>& sorted, double share) {
    const double rank = std::ceil(share * static_cast<double>(sorted.size()));
    return sorted[static_cast<std::size_t>(std::max(rank, 1.0)) - 1];
}

}  // namespace

TimeSummary summaryOf(std::vector<double> milliseconds) {
    std::sort(milliseconds.begin(), milliseconds.end());
    const double sum = std::accumulate(milliseconds.begin(), milliseconds.end(), 0.0);
    return {sum / static_cast<double>(milliseconds.size()), percentile(milliseconds, 0.5),
            percentile(milliseconds, 0.9), percentile(milliseconds, 0.99), milliseconds.back()};
}

}  // namespace brellix::app
