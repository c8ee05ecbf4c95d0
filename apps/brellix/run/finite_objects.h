#pragma once

/// \file
/// Objects that can be measured.

#include <brellix/cv_model.h>

#include <vector>

namespace brellix::app {

/// Throws `BrokenPicture` where a box or a probability is not finite, with which nothing can be measured.
void requireNumbers(const std::vector<ai_orvo::model::Object>& objects);

}  // namespace brellix::app
