#pragma once

/// \file
/// Candidates from the three tensors of one head of a YOLOv8 segmentation network.

#include "brellix/cv_model.h"
#include "brellix/letterbox.h"

#include <opencv2/core.hpp>

#include <vector>

namespace brellix::reference {

/// Candidates in parallel arrays; `maskCoefs` holds `maskCoefCount` values a candidate.
struct SegCandidates {
    std::vector<cv::Rect> boxes;
    std::vector<float> maskCoefs;
    std::vector<float> scores;
    std::vector<int> classIds;
};

/// One head's tensors and their dimensions.
struct SegHead {
    const ai_orvo::model::AIBuff& box;
    const ai_orvo::model::AIBuff& score;
    const ai_orvo::model::AIBuff& maskCoef;
    int gridH;
    int gridW;
    int stride;
    int dflLen;
    int classNum;
    int maskCoefCount;
};

/// Append one head's candidates to `candidates` and return how many. A head without cells, without bins or
/// with a tensor that is too short has none.
int decodeSegHeadFloat(const SegHead& head, const ai_orvo::model::LetterboxInfo& letterbox, float threshold,
                       SegCandidates& candidates);
int decodeSegHeadInt8(const SegHead& head, const ai_orvo::model::LetterboxInfo& letterbox, float threshold,
                      SegCandidates& candidates);

}  // namespace brellix::reference
