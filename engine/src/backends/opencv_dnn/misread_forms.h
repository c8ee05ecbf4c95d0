#pragma once

/// \file
/// Forms of operators that OpenCV 4.6 takes without a word and computes otherwise than ONNX says.

#include <string>

#include "backends/opencv_dnn/graph_facts.h"

namespace ai_orvo::alg::common {

/// Why OpenCV would compute a node of the network wrongly, and what to do; empty where none is known.
std::string misreadForm(const GraphFacts& facts);

}  // namespace ai_orvo::alg::common
