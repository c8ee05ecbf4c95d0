#pragma once

/// \file
/// JPEG files of which the end is missing.

#include "console/console.h"

#include <string>

namespace brellix::app {

/// \return whether the file begins as a JPEG and ends inside of it. Whatever follows the picture's end marker
///         does not matter.
bool endsEarly(const std::string& path);

/// Says so where the file ends early: the decoder fills up what is missing and takes the picture for read.
void warnOfEarlyEnd(const std::string& path, Console& console);

}  // namespace brellix::app
