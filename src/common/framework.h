#pragma once

/// \file
/// The back-ends' names, as constructors and configurations spell them.

#include <string>

namespace ai_orvo::model {

/// The engine's code for "TensorRT", "RKNN" or, where the model takes it, "ONNX", exactly. Any other name is
/// reported on standard output and ends the process with status 0: a published behaviour of the constructors
/// that start scripts rely on.
int frameworkCode(const std::string& framework, bool takesOnnx);

}  // namespace ai_orvo::model
