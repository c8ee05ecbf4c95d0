#pragma once

/// \file
/// A network rewritten so that ONNX Runtime takes and gives what the engine does: float32 of known shapes.

#include <onnx/onnx_pb.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ai_orvo::alg::common {

struct PreparedGraph {
    onnx::ModelProto model;
    std::vector<std::string> inputs;   ///< for each input of the network, the value to feed
    std::vector<std::string> outputs;  ///< for each output of the network, the value to ask for
};

/// Inputs get `inputShapes`; conversions from and to float16 and float64 become part of the graph;
/// quantisation at the graph's end is left to the engine.
/// \param inputNames of the network's inputs, in the order of `inputShapes`.
PreparedGraph prepareGraph(const onnx::ModelProto& model, const std::vector<std::string>& inputNames,
                           const std::vector<std::vector<std::int64_t>>& inputShapes);

}  // namespace ai_orvo::alg::common
