#pragma once

/// \file
/// Which resizings OpenCV 4.6 computes as ONNX says.

#include <string>

#include "backends/opencv_dnn/graph_facts.h"

namespace ai_orvo::alg::common {

/// Why OpenCV would compute the Resize or Upsample wrongly; empty for a node that it computes rightly, and
/// for one whose shapes are unknown.
std::string badResize(const onnx::NodeProto& node, const GraphFacts& facts);

}  // namespace ai_orvo::alg::common
