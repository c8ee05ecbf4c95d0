#pragma once

/// \file
/// Polygons as masks.

#include "masks/run_length.h"

#include <opencv2/core.hpp>

#include <vector>

namespace brellix::app {

/// Corners in pixels; the picture's top-left corner is (0, 0), the centre of its first pixel (0.5, 0.5).
using Polygon = std::vector<cv::Point2d>;

/// No object has an outline that runs across its picture more often than this; making a mask of one that does
/// could take all memory.
constexpr int kMostCrossings = 200;

/// \return whether the edges together are longer, from left to right, than `kMostCrossings` pictures of
///         `width`.
bool isTangled(const Polygon& polygon, double width);

/// \return the mask of all pixels whose centre lies in one of the polygons. Inside a polygon is what an odd
///         number of its edges separates from the outside. What lies outside of the picture is cut off.
/// \param polygons none of them tangled.
/// \param size     of the picture; fewer than 2^32 pixels.
RunLengths maskOfPolygons(const std::vector<Polygon>& polygons, cv::Size size);

}  // namespace brellix::app
