#pragma once

/// \file
/// Precision by recall, drawn.

#include "evaluation/ap_definitions.h"

#include <opencv2/core.hpp>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

using PrecisionCurve = std::array<double, kRecallCount>;

struct PlotLine {
    std::string name;
    PrecisionCurve precision;  ///< at `recallPoints()`
};

struct PlotPanel {
    std::string title;
    std::vector<PlotLine> lines;  ///< one a class
};

/// \return the panels one below the other, 8-bit BGR: axes, a line for each class, a bold one for their mean,
///         and a legend with the average precision of each.
cv::Mat drawPrecision(const std::vector<PlotPanel>& panels);

}  // namespace brellix::app
