#pragma once

/// \file
/// Overlap and non-maximum suppression. No function here keeps a state: several threads may call them, each
/// with lists of its own.

#include "brellix/cv_model.h"
#include "brellix/export.h"

#include <opencv2/core.hpp>

#include <vector>

namespace ai_orvo::model {

/// Intersection over union (the Jaccard index) of two boxes in integer pixels, `x + width` exclusive.
///
/// Pure.
/// \return 0 to 1; 0 where the boxes only touch or the union is not positive. Extreme rectangles do not
///         overflow.
BRELLIX_API float iou(cv::Rect_<int> a, cv::Rect_<int> b);

/// Greedy suppression inside each class: an object goes when its overlap with a more probable one of the
/// same label is strictly greater than `nms_thresh`. Boxes are rounded to whole pixels (ties to even) first.
///
/// \param objects    replaced by the kept ones: labels ascending, within a label by falling probability.
///                   The order among equal probabilities is not fixed; NaN probabilities come last.
/// \param nms_thresh overlap threshold; a negative one suppresses boxes that do not touch, too.
BRELLIX_API void nms(std::vector<Object>& objects, float nms_thresh);

/// Sorts `input[left..right]` from highest to lowest and carries `indices` along, in place.
///
/// A quicksort by one fixed partition around the leftmost element: the order among equal scores is what that
/// partition makes of them, neither stable nor free. Extra stack is logarithmic for any input. NaN scores end
/// somewhere in the range.
///
/// \param input       scores, sorted in place.
/// \param left, right first and last position of the range, both inclusive.
/// \param indices     as long as `input`; entries move with their scores.
/// \return the final position of the first pivot; `left` where the range has fewer than two elements or does
///         not lie inside both vectors, which are then left alone.
BRELLIX_API int quickSortIndiceInverse(std::vector<float>& input, int left, int right,
                                       std::vector<int>& indices);

/// Intersection over union of two boxes given by their corners, all corners inclusive: a box counts one pixel
/// more than its difference on each axis. Pixels, of one image or network for both boxes.
/// \return 0 to 1; 0 where the union is not positive.
BRELLIX_API float CalculateOverlap(float xmin0, float ymin0, float xmax0, float ymax0, float xmin1,
                                   float ymin1, float xmax1, float ymax1);

/// Greedy suppression inside one class, on indices.
///
/// \param validCount entries of `order` to look at.
/// \param boxes      boxes by candidate.
/// \param classIds   class by candidate.
/// \param order      candidates by falling score; -1 marks a suppressed one and is written for those that
///                   overlap an earlier kept candidate of the class by strictly more than `threshold`.
///                   Entries that name no candidate are passed over.
/// \param classId    the class; others are neither suppressors nor suppressed.
/// \param threshold  overlap, as `CalculateOverlap` measures it.
BRELLIX_API void nms(int validCount, std::vector<cv::Rect_<int>>& boxes, std::vector<int> classIds,
                     std::vector<int>& order, int classId, float threshold);

}  // namespace ai_orvo::model
