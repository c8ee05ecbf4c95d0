#pragma once

/// \file
/// What a benchmark has measured, for people and for machines.

#include "bench/bench_run.h"

#include <cstddef>
#include <string>

namespace brellix::app {

/// \return a row a stage, and a line below.
std::string benchTable(const BenchResult& result, std::size_t pictures);

/// \return the JSON document that docs/command-line.md describes, with its line end.
std::string benchJson(const BenchResult& result, const std::string& config, std::size_t pictures);

}  // namespace brellix::app
