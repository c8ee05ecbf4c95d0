#pragma once

/// \file
/// The sample networks as models.

#include "brellix/cv_model.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace brellix::testing {

struct ShapesModel {
    std::string name;
    std::function<std::unique_ptr<ai_orvo::model::CvModel>()> make;
};

/// Every form of the sample network: fused, cut, segmentation in float and in int8.
const std::vector<ShapesModel>& shapesModels();

/// The first `count` held-out pictures. \throws std::runtime_error for one that cannot be read.
std::vector<cv::Mat> shapesPictures(std::size_t count);

}  // namespace brellix::testing
