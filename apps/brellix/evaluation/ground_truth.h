#pragma once

/// \file
/// Reading ground truth, in whatever form it is.

#include "evaluation/dataset.h"
#include "evaluation/yolo_labels.h"

#include <string>
#include <vector>

namespace brellix::app {

/// Labels by the index of their picture in the dataset, to be placed once the picture's size is known.
using UnplacedLabels = std::vector<std::vector<YoloLabel>>;

struct GroundTruth {
    Dataset dataset;
    UnplacedLabels labels;           ///< empty where the dataset has all objects already
    std::vector<std::string> files;  ///< that it was read from, without the pictures
};

/// Reads a COCO file (a file that is not called .yaml or .yml), else a dataset in YOLO's form.
/// Throws `Failure`.
GroundTruth readGroundTruth(const std::string& path);

/// Leaves the first `count` pictures.
void keepFirst(std::size_t count, GroundTruth& truth);

}  // namespace brellix::app
