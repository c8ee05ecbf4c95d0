#pragma once

/// \file
/// How large a network is, before anything runs it.

#include <onnx/onnx_pb.h>

namespace brellix::fuzz {

/// Whether every value of the graph is known to have at most `most` elements. A file may ask for any amount
/// of memory and time, which is no fault of the engine that runs it.
bool isSmall(const onnx::ModelProto& model, std::int64_t most);

}  // namespace brellix::fuzz
