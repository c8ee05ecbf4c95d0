#include "masks/mask_polygons.h"

#include <opencv2/imgproc.hpp>

#include <cstddef>

namespace brellix::app {
namespace {

constexpr std::size_t kFewestCorners = 3;

Polygon flattened(std::vector<cv::Point> corners) {
    while (corners.size() < kFewestCorners) {
        corners.push_back(corners.back());
    }
    Polygon polygon;
    for (const cv::Point& corner : corners) {
        polygon.push_back(corner.x);
        polygon.push_back(corner.y);
    }
    return polygon;
}

}  // namespace

std::vector<Polygon> maskPolygons(const cv::Mat& mask) {
    std::vector<std::vector<cv::Point>> outlines;
    cv::findContours(mask, outlines, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_SIMPLE);
    std::vector<Polygon> polygons;
    for (const std::vector<cv::Point>& outline : outlines) {
        polygons.push_back(flattened(outline));
    }
    return polygons;
}

}  // namespace brellix::app
