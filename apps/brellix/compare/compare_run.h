#pragma once

/// \file
/// Two models over the same pictures.

#include "compare/comparison.h"
#include "compare/saturation.h"
#include "compare/worst_pictures.h"
#include "config/class_list.h"
#include "config/model_config_check.h"
#include "console/console.h"

#include <cstddef>
#include <string>
#include <vector>

namespace brellix::app {

/// What a comparison works on, all of it checked.
struct CompareJob {
    ModelConfig a;
    ModelConfig b;
    ClassList classes;
    std::vector<std::string> sources;
    ComparisonRules rules;
    std::size_t worstCount = 0;
    bool drawsWorst = false;
};

struct CompareResult {
    Comparison comparison;
    ByteCounts bytesA;  ///< of the 8-bit outputs, over all pictures
    ByteCounts bytesB;
    std::vector<WorstPicture> worst;
    std::size_t failed = 0;
};

/// Runs both models over the pictures. One that either cannot use is reported, counted and left out.
CompareResult runComparison(const CompareJob& job, Console& console);

}  // namespace brellix::app
