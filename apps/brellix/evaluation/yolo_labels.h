#pragma once

/// \file
/// The lines of YOLO's label files.

#include "evaluation/polygon_mask.h"

#include <opencv2/core.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace brellix::app {

/// One line. Numbers are shares of the picture's width and height.
struct YoloLabel {
    std::int64_t label = 0;
    cv::Rect2d box;
    Polygon polygon;    ///< empty where the line holds a box
    std::string place;  ///< file and line
};

/// \return the labels of the text file at `path`. Throws `Failure` that names the line.
std::vector<YoloLabel> readYoloLabels(const std::string& path);

}  // namespace brellix::app
