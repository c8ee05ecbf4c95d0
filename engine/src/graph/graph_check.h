#pragma once

/// \file
/// The onnx library's own judgement of a graph.

#include <onnx/onnx_pb.h>

#include <string>

namespace ai_orvo::alg::common {

/// What became of a graph under the onnx library's rules.
struct GraphVerdict {
    std::string fault;          ///< empty for a good graph, else what is wrong
    onnx::ModelProto inferred;  ///< of a good graph: the model with the shapes of all its values
};

/// A good graph follows the ONNX rules (operators known, inputs and attributes as they must be, every value
/// produced before its use), its shapes fit each other, and it holds none of the hazards of graph_hazards.h.
GraphVerdict judgeGraph(const onnx::ModelProto& model);

}  // namespace ai_orvo::alg::common
