#pragma once

/// \file
/// Masks as outlines.

#include <opencv2/core.hpp>

#include <vector>

namespace brellix::app {

/// The corners of one outline: x, y, x, y and so on, in pixels of the picture.
using Outline = std::vector<int>;

/// \return the outer outlines of an 8-bit mask, in which everything but 0 belongs to the object, one for each
///         connected part that lies in no other's hole. Their corners are pixels of the object: filling them,
///         edges included, gives the mask back but for its holes, which outlines cannot say. A part of one or
///         two pixels repeats its last corner, so that each outline has at least three.
std::vector<Outline> maskPolygons(const cv::Mat& mask);

}  // namespace brellix::app
