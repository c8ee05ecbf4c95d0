#pragma once

/// \file
/// Objects from the three raw 8-bit heads of a YOLOv5 network that is cut before its detection layer.

#include "brellix/cv_model.h"
#include "brellix/letterbox.h"

#include <array>
#include <vector>

namespace brellix::reference {

struct CutoffSettings {
    cv::Size inputSize{640, 640};
    ai_orvo::model::LetterboxInfo letterbox{1.0F, 0.0F, 0.0F, 0.0F, 0.0F};
    float confThreshold = 0.25F;
    float nmsThreshold = 0.65F;
    int classNum = 80;
    int channelsPerAnchor = 85;
};

/// Width and height in network pixels by head and anchor.
extern const int kCutoffAnchors[3][3][2];
extern const int kCutoffStrides[3];
extern const std::array<const char*, 3> kCutoffHeadNames;

/// Appends the objects of one head.
/// \return how many positions passed the byte comparison of the objectness; 0 for a head outside 0..2, for
///         more classes than there are channels, and for a buffer too short for 3 * channels * area.
int decodeCutoffHead(const CutoffSettings& settings, const ai_orvo::model::AIBuff& output, int head,
                     std::vector<ai_orvo::model::Object>& objects);

/// The objects of all three heads in order, before suppression. A missing name is an empty head.
std::vector<ai_orvo::model::Object> decodeCutoffHeads(const CutoffSettings& settings,
                                                      const ai_orvo::model::TensorMap& outputs);

/// Decoding and suppression.
std::vector<ai_orvo::model::Object> detectCutoff(const CutoffSettings& settings,
                                                 const ai_orvo::model::TensorMap& outputs);

}  // namespace brellix::reference
