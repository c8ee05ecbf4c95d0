#pragma once

/// \file
/// Decoding one raw head of a cut YOLOv5 network.

#include "brellix/cv_model.h"
#include "brellix/letterbox.h"
#include "yolov5_cutoff/tensor_tables.h"

#include <cstddef>
#include <vector>

namespace ai_orvo::model {

/// How a head's tensor is laid out.
struct HeadLayout {
    int gridW;
    int gridH;
    int stride;  ///< network pixels a cell
    int classNum;
    int channelsPerAnchor;
    const int (&anchors)[kCutAnchorsPerHead][2];  ///< width and height in network pixels

    std::size_t cells() const { return static_cast<std::size_t>(gridW) * static_cast<std::size_t>(gridH); }
};

/// What the decoder needs to know of the image and of the settings.
struct HeadDecoding {
    LetterboxInfo letterbox;
    float confThres;
};

/// Appends the head's objects. \return how many positions passed the objectness test; 0 for a tensor shorter
/// than its layout.
int decodeHead(const AIBuff& output, const HeadLayout& layout, const HeadDecoding& settings,
               std::vector<Object>& objects);

}  // namespace ai_orvo::model
