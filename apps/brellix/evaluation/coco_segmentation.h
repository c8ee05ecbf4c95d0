#pragma once

/// \file
/// The masks of ground truth in COCO's form.

#include "evaluation/json_entry.h"
#include "evaluation/mask_measures.h"

#include <opencv2/core.hpp>

#include <optional>

namespace brellix::app {

/// \return the mask of "segmentation" of an annotation: a list of polygons, or run lengths as numbers or as
///         compressed text. Nothing where there is none, or an empty list. Throws `Failure`.
/// \param picture size of the picture, 0 x 0 where the dataset does not say it.
std::optional<MeasuredMask> readSegmentation(const JsonEntry& annotation, cv::Size picture);

}  // namespace brellix::app
