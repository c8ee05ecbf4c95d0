#pragma once

/// \file
/// What neither ONNX's rules nor the libraries behind us catch, and what makes them divide by zero or read
/// past the end of a shape.

#include <onnx/onnx_pb.h>

namespace ai_orvo::alg::common {

/// Looks at a graph that has passed the onnx library's checker, before shapes are inferred from it.
/// \throws std::invalid_argument that names the operator.
void refuseHazards(const onnx::ModelProto& model);

/// The part of it that concerns the windows of convolutions and pools: their sizes, steps and borders. Looks
/// into nested graphs, too.
/// \throws std::invalid_argument that names the operator.
void refuseBadWindows(const onnx::GraphProto& graph);

/// Writes the window of each convolution that leaves it to stored weights into the node, in nested graphs,
/// too. Shape inference compares an attribute's length with the input's, but walks along the input by the
/// weights' without looking; ONNX Runtime may have the same shape inference.
void stateWindows(onnx::GraphProto& graph);

}  // namespace ai_orvo::alg::common
