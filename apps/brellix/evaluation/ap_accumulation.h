#pragma once

/// \file
/// From matched detections to precision and recall: one class over all pictures.

#include "evaluation/ap_definitions.h"
#include "evaluation/ap_matching.h"

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace brellix::app {

/// Precision by recall, and the highest recall, by overlap threshold.
struct PrecisionRecall {
    std::array<std::array<double, kRecallCount>, kOverlapCount> precision{};
    std::array<double, kOverlapCount> recall{};
};

/// \return nothing where no truth is to be found.
/// \param pictures      the matches of each picture; detections of equal score keep their order.
/// \param maxDetections of one picture, the surest ones.
std::optional<PrecisionRecall> accumulate(const std::vector<Matches>& pictures, std::size_t maxDetections);

}  // namespace brellix::app
