#pragma once

/// \file
/// Which operands of different shapes OpenCV 4.6 matches as ONNX says.

#include <string>

#include "backends/opencv_dnn/graph_facts.h"

namespace ai_orvo::alg::common {

/// Why OpenCV would compute the Add, Sub, Mul, Div or Sum wrongly; empty for a node that it computes rightly,
/// and for one whose shapes are unknown.
std::string badBroadcast(const onnx::NodeProto& node, const GraphFacts& facts);

}  // namespace ai_orvo::alg::common
