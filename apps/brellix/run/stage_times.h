#pragma once

/// \file
/// Times of many frames and what is said of them.

#include <cstddef>
#include <vector>

namespace brellix::app {

/// What is said of one stage, in milliseconds.
struct TimeSummary {
    double mean = 0.0;
    double p50 = 0.0;  ///< half of the frames took no longer
    double p90 = 0.0;
    double p99 = 0.0;
    double max = 0.0;
};

/// \param milliseconds one a frame, in any order; at least one. Percentiles are those of the nearest rank.
TimeSummary summaryOf(std::vector<double> milliseconds);

}  // namespace brellix::app
