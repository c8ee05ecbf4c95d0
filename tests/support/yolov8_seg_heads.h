#pragma once

/// \file
/// One head of a YOLOv8Seg, and its prototypes, decoded by the model and by the reference.

#include "reference/seg_boxes.h"
#include "reference/seg_objects.h"

#include "brellix/yolov8_seg.h"

#include <gtest/gtest.h>

namespace brellix::testing {

/// The tensors and dimensions of one head; copies of the buffers share their bytes.
struct SegHeadCase {
    ai_orvo::model::AIBuff box;
    ai_orvo::model::AIBuff score;
    ai_orvo::model::AIBuff maskCoef;
    int gridH;
    int gridW;
    int stride;
    int dflLen;
};

/// Append a head's candidates to `found`, from tensors of the kind and by the threshold of `settings`.
/// \return how many.
int decodeSegHead(ai_orvo::model::YOLOv8Seg& model, const reference::SegSettings& settings, SegHeadCase& head,
                  reference::SegCandidates& found);
int decodeSegHeadPlainly(const reference::SegSettings& settings, const SegHeadCase& head,
                         reference::SegCandidates& found);

/// The same candidates in the same order.
::testing::AssertionResult sameCandidates(const reference::SegCandidates& actual,
                                          const reference::SegCandidates& expected);

/// The prototype matrix from a tensor of the kind of `settings`, by the model and by the reference.
cv::Mat prototypesOf(ai_orvo::model::YOLOv8Seg& model, const reference::SegSettings& settings,
                     ai_orvo::model::AIBuff& proto);
cv::Mat prototypesPlainly(const reference::SegSettings& settings, const ai_orvo::model::AIBuff& proto);

}  // namespace brellix::testing
