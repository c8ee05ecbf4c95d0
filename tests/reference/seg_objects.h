#pragma once

/// \file
/// Objects with masks from the ten outputs of a YOLOv8 segmentation network.

#include "brellix/cv_model.h"
#include "brellix/letterbox.h"
#include "reference/seg_boxes.h"

#include <opencv2/core.hpp>

#include <array>
#include <vector>

namespace brellix::reference {

struct SegSettings {
    cv::Size inputSize{640, 640};
    ai_orvo::model::LetterboxInfo letterbox{1.0F, 0.0F, 0.0F, 0.0F, 0.0F};
    bool isQuantized = false;
    int protoWidth = 160;
    int protoHeight = 160;
    int maskCoefCount = 32;
    float confThreshold = 0.25F;
    float nmsThreshold = 0.65F;
    int maxDetections = 100;
    std::array<int, 3> strides{8, 16, 32};
    int classNum = 13;
    int dflLen = 16;
    std::array<cv::Size, 3> grids{cv::Size(80, 80), cv::Size(40, 40), cv::Size(20, 20)};
};

/// The candidates of all heads, in the order of the heads. Missing names are inserted as empty tensors.
SegCandidates decodeSegHeads(const SegSettings& settings, ai_orvo::model::TensorMap& outputs);

/// Appends the objects, at most `maxDetections`, by falling probability, each with its mask.
/// Missing names are inserted into `outputs`. Masks go to the first objects of the vector, so it has to be
/// empty.
/// \throws cv::Exception once there is an object, where the picture's part does not fit its plane: most inputs
///         that are not square.
void detectSeg(const SegSettings& settings, ai_orvo::model::TensorMap& outputs,
               std::vector<ai_orvo::model::Object>& objects);

}  // namespace brellix::reference
