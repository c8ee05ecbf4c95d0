#pragma once

/// \file
/// A check for machines.

#include "check/network_check.h"

#include <string>

namespace brellix::app {

/// \return one JSON object and a line end; docs/command-line.md has its keys.
std::string checkJson(const CheckReport& report);

}  // namespace brellix::app
