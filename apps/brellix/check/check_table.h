#pragma once

/// \file
/// A check for people.

#include "check/network_check.h"

#include <string>

namespace brellix::app {

/// \return the tensors, the findings and the answer, in aligned columns; control characters are replaced.
std::string checkTable(const CheckReport& report);

}  // namespace brellix::app
