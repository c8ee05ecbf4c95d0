#pragma once

/// \file
/// The cut detector's tensors: their names and what the engine is told of them.

#include "brellix/ai_engine.h"

#include <opencv2/core.hpp>

#include <cstddef>

namespace ai_orvo::model {

inline constexpr int kCutHeads = 3;
inline constexpr int kCutAnchorsPerHead = 3;
inline constexpr const char* kCutInput = "images";
inline constexpr const char* kCutOutputs[kCutHeads] = {
    "/model.24/m.0/Conv_output_0", "/model.24/m.1/Conv_output_0", "/model.24/m.2/Conv_output_0"};

// Channels of an anchor: four of the box, objectness, then one a class.
inline constexpr std::size_t kCutObjectness = 4;
inline constexpr std::size_t kCutFirstClass = 5;

/// Box, objectness and one score a class.
int channelsPerAnchor(int classNum);

/// Fills `config` with the element counts.
void registerCutTensors(const cv::Size& inputSize, const int (&strides)[kCutHeads], int anchorChannels,
                        alg::common::AIEngineConfig& config);

}  // namespace ai_orvo::model
