#pragma once

/// \file
/// Candidates of one head, without their mask coefficients.

#include "brellix/yolov8_seg.h"

#include <cstddef>
#include <vector>

namespace ai_orvo::model {

/// One head's tensors.
struct SegHead {
    const AIBuff& box;
    const AIBuff& score;
    const AIBuff& maskCoef;
};

/// One head's grid.
struct SegGrid {
    int height;
    int width;
    int stride;  ///< network pixels a cell
    int dflLen;  ///< bins a box side

    std::size_t cells() const { return static_cast<std::size_t>(height) * static_cast<std::size_t>(width); }
};

/// Where candidates go, one entry each in every list.
struct SegCandidateLists {
    std::vector<cv::Rect_<int>>& boxes;
    std::vector<float>& scores;
    std::vector<int>& classIds;
    std::vector<std::size_t>& cells;  ///< the cell of the head's grid
};

/// Appends the candidates of a head, in the order of its cells. A tensor that is missing or shorter than its
/// grid gives none. \return how many were appended.
int decodeFloatHead(const YOLOv8Seg& model, const SegHead& head, const SegGrid& grid, float threshold,
                    const SegCandidateLists& lists);
int decodeInt8Head(const YOLOv8Seg& model, const SegHead& head, const SegGrid& grid, float threshold,
                   const SegCandidateLists& lists);

/// Appends the `count` mask coefficients of a cell that one of the functions above found.
void appendFloatCoefficients(const AIBuff& maskCoef, std::size_t cells, std::size_t cell, std::size_t count,
                             std::vector<float>& coefficients);
void appendInt8Coefficients(const AIBuff& maskCoef, std::size_t cells, std::size_t cell, std::size_t count,
                            std::vector<float>& coefficients);

}  // namespace ai_orvo::model
