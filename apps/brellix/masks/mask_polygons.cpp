#include "masks/mask_polygons.h"

#include <opencv2/imgproc.hpp>

#include <cstddef>

namespace brellix::app {
namespace {

constexpr std::size_t kFewestCorners = 3;

Outline flattened(std::vector<cv::Point> corners) {
    while (corners.size() < kFewestCorners) {
        corners.push_back(corners.back());
    }
    Outline outline;
    for (const cv::Point& corner : corners) {
        outline.push_back(corner.x);
        outline.push_back(corner.y);
    }
    return outline;
}

}  // namespace

std::vector<Outline> maskPolygons(const cv::Mat& mask) {
    std::vector<std::vector<cv::Point>> contours;
    cv::findContours(mask, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_SIMPLE);
    std::vector<Outline> outlines;
    for (const std::vector<cv::Point>& contour : contours) {
        outlines.push_back(flattened(contour));
    }
    return outlines;
}

}  // namespace brellix::app
