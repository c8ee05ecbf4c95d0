#pragma once

/// \file
/// From a path to a parsed ONNX model whose stored tensors are as long as they claim.

#include <onnx/onnx_pb.h>

#include <string>

namespace ai_orvo::alg::common {

/// Reads the file in one go, so that it may change on disk afterwards.
/// \throws Refusal (`kFileUnreadable`, `kNotAnOnnxNetwork`; `kBackendRefusal` for data in other files).
onnx::ModelProto readNetworkFile(const std::string& path);

}  // namespace ai_orvo::alg::common
