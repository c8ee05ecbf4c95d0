#pragma once

/// \file
/// Decoding the fused YOLOv5 output.

#include "brellix/cv_model.h"
#include "brellix/letterbox.h"

#include <cstdint>
#include <vector>

namespace ai_orvo::model {

/// What the decoder needs to know of the model and of the image.
struct FusedDecoding {
    LetterboxInfo letterbox;
    float confThres;
    int classNum;
    std::int64_t candidates;  ///< rows that the tensor should hold
};

/// Appends an object for every candidate row whose objectness and best class score both exceed the
/// threshold. Rows that do not lie completely inside the buffer are not read.
void decodeFusedOutput(const AIBuff& output, const FusedDecoding& settings, std::vector<Object>& objects);

}  // namespace ai_orvo::model
