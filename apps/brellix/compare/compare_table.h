#pragma once

/// \file
/// The results of a comparison for people.

#include "compare/compare_run.h"

#include <string>

namespace brellix::app {

std::string compareTable(const CompareJob& job, const CompareResult& result);

}  // namespace brellix::app
