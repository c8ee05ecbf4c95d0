#pragma once

/// \file
/// The results of a comparison for machines, described in docs/command-line.md.

#include "compare/compare_run.h"

#include <string>
#include <vector>

namespace brellix::app {

/// \return one JSON document, with its line end.
std::string compareReport(const CompareJob& job, const CompareResult& result,
                          const std::vector<std::string>& exceeded);

}  // namespace brellix::app
