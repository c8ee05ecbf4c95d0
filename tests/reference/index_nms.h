#pragma once

/// \file
/// Sorting scores with their indices, overlap with the extra pixel, suppression by index.

#include <opencv2/core.hpp>

#include <vector>

namespace brellix::reference {

/// As `ai_orvo::model::quickSortIndiceInverse`.
int sortDescending(std::vector<float>& scores, int left, int right, std::vector<int>& indices);

/// As `ai_orvo::model::CalculateOverlap`.
float inclusiveOverlap(float xmin0, float ymin0, float xmax0, float ymax0, float xmin1, float ymin1,
                       float xmax1, float ymax1);

/// As the index form of `ai_orvo::model::nms`.
void suppressByIndex(int validCount, const std::vector<cv::Rect>& boxes, const std::vector<int>& classIds,
                     std::vector<int>& order, int classId, float threshold);

}  // namespace brellix::reference
