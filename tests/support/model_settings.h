#pragma once

/// \file
/// Models with the settings that their references are given.

#include "reference/cutoff_boxes.h"
#include "reference/fused_boxes.h"

#include "brellix/yolov5.h"
#include "brellix/yolov5_cutoff.h"

namespace brellix::testing {

inline void applySettings(ai_orvo::model::YOLOv5& model, const reference::FusedSettings& settings) {
    model.letterbox_info = settings.letterbox;
    model.conf_thres = settings.confThreshold;
    model.nms_thres = settings.nmsThreshold;
    model.class_num = settings.classNum;
    model.num_candidates = settings.numCandidates;
}

inline void applySettings(ai_orvo::model::YOLOv5Cutoff& model, const reference::CutoffSettings& settings) {
    model.input_size = settings.inputSize;
    model.letterbox_info = settings.letterbox;
    model.conf_thres = settings.confThreshold;
    model.nms_thres = settings.nmsThreshold;
    model.class_num = settings.classNum;
    model.channels_per_anchor = settings.channelsPerAnchor;
}

}  // namespace brellix::testing
