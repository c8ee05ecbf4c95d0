#pragma once

/// \file
/// Objects from the one output of a YOLOv5 network that has its detection layer.

#include "brellix/cv_model.h"
#include "brellix/letterbox.h"

#include <string>
#include <vector>

namespace brellix::reference {

struct FusedSettings {
    ai_orvo::model::LetterboxInfo letterbox{1.0F, 0.0F, 0.0F, 0.0F, 0.0F};
    float confThreshold = 0.25F;
    float nmsThreshold = 0.65F;
    int classNum = 80;
    int numCandidates = 0;
};

/// Rows of cx, cy, w, h, objectness, class scores. Rows that do not lie completely inside the buffer are
/// left out, and so is every row too short to hold an objectness.
std::vector<ai_orvo::model::Object> decodeFusedRows(const FusedSettings& settings,
                                                    const ai_orvo::model::AIBuff& output);

/// Decoding and suppression.
std::vector<ai_orvo::model::Object> detectFused(const FusedSettings& settings,
                                                const ai_orvo::model::AIBuff& output);

/// What decoding writes to standard output, line feed included.
std::string letterboxLine(const ai_orvo::model::LetterboxInfo& letterbox);

}  // namespace brellix::reference
