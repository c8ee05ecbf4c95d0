#pragma once

/// \file
/// The tensors that an ONNX file stores (weights, constants) hold as many bytes as their shapes claim.

#include <onnx/onnx_pb.h>

#include <string>

namespace ai_orvo::alg::common {

/// Back-ends copy by shape without looking at the stored length, so a damaged file would make them read past
/// the end of a buffer.
/// \throws Refusal (`kNotAnOnnxNetwork`) that names the first tensor whose length is wrong.
void checkStoredTensors(const onnx::ModelProto& model, const std::string& path);

}  // namespace ai_orvo::alg::common
