#pragma once

/// \file
/// The onnx library's own judgement of a graph.

#include <onnx/onnx_pb.h>

#include <string>

namespace ai_orvo::alg::common {

/// Empty for a graph that follows the ONNX rules (operators known, inputs and attributes as they must be,
/// every value produced before its use, shapes that fit each other), else what is wrong.
std::string graphFault(const onnx::ModelProto& model);

/// Fills in the shapes of values and outputs. \return false, the model as it was, where that fails.
bool inferShapes(onnx::ModelProto& model);

}  // namespace ai_orvo::alg::common
