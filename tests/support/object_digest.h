#pragma once

/// \file
/// One number for everything that a model found.

#include "brellix/cv_model.h"

#include <cstdint>
#include <vector>

namespace brellix::testing {

/// Folds every field to the bit, the masks with all their pixels (support/digest.h). Equal objects give equal
/// numbers; others hardly ever do.
std::uint64_t digestOf(const std::vector<ai_orvo::model::Object>& objects);

/// The same of a picture's size, type and bytes.
std::uint64_t digestOf(const cv::Mat& picture);

}  // namespace brellix::testing
