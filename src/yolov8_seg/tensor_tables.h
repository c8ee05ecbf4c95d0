#pragma once

/// \file
/// The segmentation network's tensors: their names and what the engine is told of them.

#include "brellix/yolov8_seg.h"

#include <array>
#include <cstddef>

namespace ai_orvo::model {

inline constexpr std::size_t kSegHeads = 3;
inline constexpr const char* kSegInput = "images";
inline constexpr const char* kSegProto = "proto";

/// Names of one head's tensors.
struct SegHeadNames {
    const char* box;
    const char* score;
    const char* maskCoef;
};

inline constexpr std::array<SegHeadNames, kSegHeads> kSegHeadNames = {{{"output0", "output1", "output2"},
                                                                       {"output3", "output4", "output5"},
                                                                       {"output6", "output7", "output8"}}};

/// All output names in the order "output0" to "output8", "proto".
inline constexpr std::array<const char*, 10> kSegOutputs = {"output0", "output1", "output2", "output3",
                                                            "output4", "output5", "output6", "output7",
                                                            "output8", "proto"};

/// Fills the model's engine configuration with element counts, shapes and element types.
void registerSegTensors(YOLOv8Seg& model);

}  // namespace ai_orvo::model
