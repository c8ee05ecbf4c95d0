#pragma once

/// \file
/// The results of an evaluation for people.

#include "eval/eval_run.h"

#include <string>

namespace brellix::app {

/// \return a table for the boxes, one for the masks where they were measured, and a closing line.
std::string evalTable(const EvalJob& job, const EvalResult& result);

}  // namespace brellix::app
