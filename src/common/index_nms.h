#pragma once

/// \file
/// Suppression on indices for all classes at once.

#include <opencv2/core.hpp>

#include <vector>

namespace ai_orvo::model {

/// Does what the index form of `nms` does when it is called for each class that occurs, without looking at
/// the candidates of one class for the sake of another.
///
/// \param boxes, classIds by candidate.
/// \param order           all candidates by falling score; suppressed ones become -1.
void suppressInEachClass(const std::vector<cv::Rect_<int>>& boxes, const std::vector<int>& classIds,
                         float threshold, std::vector<int>& order);

}  // namespace ai_orvo::model
