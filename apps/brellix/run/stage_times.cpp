#include "run/stage_times.h"

#include "run/percentile.h"

#include <algorithm>
#include <numeric>

namespace brellix::app {
TimeSummary summaryOf(std::vector<double> milliseconds) {
    std::sort(milliseconds.begin(), milliseconds.end());
    const double sum = std::accumulate(milliseconds.begin(), milliseconds.end(), 0.0);
    return {sum / static_cast<double>(milliseconds.size()), percentile(milliseconds, 0.5),
            percentile(milliseconds, 0.9), percentile(milliseconds, 0.99), milliseconds.back()};
}

}  // namespace brellix::app
