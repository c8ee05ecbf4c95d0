#pragma once

/// \file
/// The fused detector's tensors: their names and what the engine is told of them.

#include "brellix/ai_engine.h"

#include <opencv2/core.hpp>

#include <cstddef>

namespace ai_orvo::model {

inline constexpr const char* kFusedInput = "image";
inline constexpr const char* kFusedOutput = "output0";

// A row of the output: centre x, centre y, width, height, objectness, then one score a class.
inline constexpr std::size_t kFusedObjectness = 4;
inline constexpr std::size_t kFusedFirstClass = 5;

/// Three candidates for each cell of each stride's grid.
int countCandidates(const cv::Size& inputSize, const int (&strides)[3]);

/// Fills `config` with the element counts.
void registerFusedTensors(const cv::Size& inputSize, int numCandidates, int classNum,
                          alg::common::AIEngineConfig& config);

}  // namespace ai_orvo::model
