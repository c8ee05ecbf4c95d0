#pragma once

/// \file
/// The back-end preferred where it is compiled in: ONNX Runtime on the CPU.

#include <memory>
#include <optional>

#include "backends/engine_backend.h"

namespace ai_orvo::alg::common {

/// Loads the network into ONNX Runtime and runs it once on zeros, so that what cannot run is refused here.
/// Extents that the file leaves open are settled by the configuration.
/// \param threads of this network alone; ONNX Runtime's choice, one for each processor core, where absent.
/// \throws Refusal (`kBackendRefusal`).
std::shared_ptr<EngineBackend> makeOnnxRuntimeBackend(std::optional<int> threads,
                                                      const BackendRequest& request);

}  // namespace ai_orvo::alg::common
