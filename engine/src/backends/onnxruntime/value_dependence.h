#pragma once

/// \file
/// Whether a network can fail on one picture that has run on another.

#include <onnx/onnx_pb.h>

#include <string>
#include <vector>

namespace ai_orvo::alg::common {

/// True where an operator computes a place or a shape from the values of the network's inputs (an index past
/// the end, say), or where it is unknown. Such a network can fail after some of its outputs were written; any
/// other runs on all values once it has run on some.
bool mayFailOnValues(const onnx::GraphProto& graph, const std::vector<std::string>& inputs);

}  // namespace ai_orvo::alg::common
