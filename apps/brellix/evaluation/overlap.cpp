#include "evaluation/overlap.h"

#include <algorithm>

namespace brellix::app {

// The order of the operations is that of COCO's own evaluation: at a threshold one bit decides.
double boxOverlap(const cv::Rect2d& detection, const cv::Rect2d& truth, bool truthIsCrowd) {
    const double width =
        std::min(detection.width + detection.x, truth.width + truth.x) - std::max(detection.x, truth.x);
    if (width <= 0.0) {
        return 0.0;
    }
    const double height =
        std::min(detection.height + detection.y, truth.height + truth.y) - std::max(detection.y, truth.y);
    if (height <= 0.0) {
        return 0.0;
    }
    const double intersection = width * height;
    const double detectionArea = detection.width * detection.height;
    const double truthArea = truth.width * truth.height;
    return intersection / (truthIsCrowd ? detectionArea : detectionArea + truthArea - intersection);
}

double maskOverlap(const MeasuredMask& detection, const MeasuredMask& truth, bool truthIsCrowd) {
    const std::int64_t intersection = intersectionArea(detection, truth);
    if (intersection == 0) {
        return 0.0;
    }
    const std::int64_t whole = truthIsCrowd ? detection.area : detection.area + truth.area - intersection;
    return static_cast<double>(intersection) / static_cast<double>(whole);
}

}  // namespace brellix::app
