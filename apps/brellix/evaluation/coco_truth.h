#pragma once

/// \file
/// Ground truth in COCO's form.

#include "evaluation/dataset.h"

#include <string>

namespace brellix::app {

/// \return the dataset of the JSON file at `path`: "images", "annotations" and "categories" as COCO's
///         instances have them. Throws `Failure` that names the file, the place, what was found and what was
///         expected.
Dataset readCocoTruth(const std::string& path);

}  // namespace brellix::app
