#pragma once

/// \file
/// A graph cut before the quantisation of its outputs, so that the engine does that part alike on every
/// back-end.

#include <onnx/onnx_pb.h>

#include <string>
#include <vector>

namespace ai_orvo::alg::common {

/// Ends the graph at the float values before quantisation.
/// \return those values' names, one per output; of an output that is not quantised, its own name.
std::vector<std::string> endBeforeQuantization(onnx::GraphProto& graph);

}  // namespace ai_orvo::alg::common
