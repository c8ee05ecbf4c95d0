#pragma once

/// \file
/// What differs on one picture, in words.

#include "compare/picture_comparison.h"
#include "config/class_list.h"

#include <string>
#include <vector>

namespace brellix::app {

/// The objects on which the sides agree least; null where nothing was found by both.
struct LeastAgreement {
    const Agreement* drift = nullptr;
    const Agreement* box = nullptr;
    const Agreement* mask = nullptr;  ///< null without masks, too
};

/// The pointers lead into `comparison`.
LeastAgreement leastAgreement(const PictureComparison& comparison);

/// \return a line for each object on which the sides differ, the worst first; then where those that both
///         found agree least.
std::vector<std::string> describeDifferences(const PictureComparison& comparison, const ClassList& classes);

}  // namespace brellix::app
