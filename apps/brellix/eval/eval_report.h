#pragma once

/// \file
/// The results of an evaluation for machines, described in docs/command-line.md.

#include "eval/eval_run.h"

#include <string>

namespace brellix::app {

/// \return one JSON document, with its line end.
std::string evalReport(const EvalJob& job, const EvalResult& result);

}  // namespace brellix::app
