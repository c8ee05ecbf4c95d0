#pragma once

/// \file
/// Pairing two lists of objects of the same picture.

#include "brellix/cv_model.h"

#include <utility>
#include <vector>

namespace brellix::testing {

/// Pairs of indices (first list, second list) of objects of the same label, the largest overlaps first, each
/// object at most once, none below `minOverlap`.
std::vector<std::pair<std::size_t, std::size_t>> matchObjects(
    const std::vector<ai_orvo::model::Object>& first, const std::vector<ai_orvo::model::Object>& second,
    double minOverlap);

}  // namespace brellix::testing
