#pragma once

/// \file
/// The segmentation network's tensors: their names and what the engine is told of them.

#include "brellix/ai_engine.h"

#include <opencv2/core.hpp>

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

/// What the tables follow from.
struct SegTensorLayout {
    cv::Size inputSize;
    const int (&strides)[kSegHeads];
    int classNum;
    cv::Size protoSize;
    int prototypes;
    bool isQuantized;
};

/// Fills `config` with element counts, shapes and element types.
void registerSegTensors(const SegTensorLayout& layout, alg::common::AIEngineConfig& config);

}  // namespace ai_orvo::model
