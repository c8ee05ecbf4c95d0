#pragma once

/// \file
/// Where the pictures of a dataset are.

#include "evaluation/dataset.h"

#include <string>
#include <vector>

namespace brellix::app {

/// \return the paths of the pictures, in the dataset's order; single ones may not exist.
///
/// They are looked for in `folder`; where that is empty, beside the dataset's file, in the folders beside it,
/// and in those beside its folder. The first one that has the most is taken for all.
/// Throws `Failure` where none has any.
std::vector<std::string> picturePaths(const Dataset& dataset, const std::string& folder);

}  // namespace brellix::app
