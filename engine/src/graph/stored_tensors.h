#pragma once

/// \file
/// The tensors that an ONNX file stores (weights, constants) hold as many bytes as their shapes claim.

#include <onnx/onnx_pb.h>

#include <string>

namespace ai_orvo::alg::common {

/// Back-ends copy by shape without looking at the stored length, so a damaged file would make them read past
/// the end of a buffer. They also open what other files a tensor names, which may be any file of the machine.
/// \throws Refusal that names the first tensor whose length is wrong (`kNotAnOnnxNetwork`) or whose data lie in
///         another file (`kBackendRefusal`).
void checkStoredTensors(const onnx::ModelProto& model, const std::string& path);

}  // namespace ai_orvo::alg::common
