#pragma once

/// \file
/// Reading masks that are written as COCO's compressed run lengths or polygons.

#include <opencv2/core.hpp>

#include <string>
#include <vector>

namespace brellix::testing {

/// \return the mask of `size`, 255 inside the object. Throws `std::runtime_error` for a text whose runs do
/// not fill it exactly.
cv::Mat decodeCocoMask(const std::string& counts, cv::Size size);

/// \return the mask of `size`, 255 inside the polygons and on their edges. Each is x and y of its corners, one
/// after the other.
cv::Mat drawPolygons(const std::vector<std::vector<int>>& polygons, cv::Size size);

}  // namespace brellix::testing
