#pragma once

/// \file
/// Average precision of detections against ground truth, as COCO defines it.

#include <opencv2/core.hpp>

#include <functional>
#include <vector>

namespace brellix::testing {

/// One box of the ground truth or of the detections.
struct ScoredBox {
    int image;
    int label;
    cv::Rect2d box;
    double score = 1.0;
};

/// Mean over the labels of the truth of the average precision at one overlap threshold.
///
/// Detections are taken by falling score; each takes the free truth of its image and label that it overlaps
/// most, if that overlap reaches `threshold`. Precision is made monotonic and averaged over 101 recall
/// points.
double averagePrecision(const std::vector<ScoredBox>& truth, const std::vector<ScoredBox>& detections,
                        double threshold);

/// The same with the overlap of detection `d` and truth `t` given by `overlap(d, t)`, indices into the lists.
double averagePrecision(const std::vector<ScoredBox>& truth, const std::vector<ScoredBox>& detections,
                        double threshold, const std::function<double(std::size_t, std::size_t)>& overlap);

}  // namespace brellix::testing
