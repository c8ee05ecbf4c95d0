#include "run/percentile.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace brellix::app {

double percentile(const std::vector<double>& sorted, double share) {
    const double rank = std::ceil(share * static_cast<double>(sorted.size()));
    return sorted[static_cast<std::size_t>(std::max(rank, 1.0)) - 1];
}

}  // namespace brellix::app
