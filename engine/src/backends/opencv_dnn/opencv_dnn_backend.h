#pragma once

/// \file
/// The back-end that is always there: OpenCV's dnn module on the CPU.

#include <memory>

#include "backends/engine_backend.h"

namespace ai_orvo::alg::common {

/// Loads the network into OpenCV and runs it once on zeros, so that what OpenCV cannot run is refused here.
/// \throws Refusal (`kBackendRefusal`).
std::shared_ptr<EngineBackend> makeOpencvDnnBackend(const onnx::ModelProto& model,
                                                    const EngineNetwork& network);

}  // namespace ai_orvo::alg::common
