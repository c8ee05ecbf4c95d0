#pragma once

/// \file
/// What a back-end is: it runs one network on float tensors.

#include <onnx/onnx_pb.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "backends/environment.h"
#include "brellix/ai_engine.h"
#include "graph/engine_network.h"
#include "tensors/float_scratch.h"

namespace ai_orvo::alg::common {

/// The values of one output that a caller wants.
struct OutputRequest {
    std::size_t output;  ///< index into the network's outputs
    float* values;       ///< room for the output's elements
};

/// Runs a network. One thread at a time may use an instance; separate instances are independent.
///
/// A back-end is made for a network that it has tried: what it cannot run, it refuses when it is made.
class EngineBackend {
  public:
    EngineBackend() = default;
    virtual ~EngineBackend() = default;
    EngineBackend(const EngineBackend&) = delete;
    EngineBackend& operator=(const EngineBackend&) = delete;

    /// \param inputs  one tensor per network input, in the network's order.
    /// \param outputs each filled with float values, the ones before quantisation where the graph ends in it.
    /// \throws Refusal (`kInferenceFailed`); no output was written then, but where memory ran out half-way and the
    /// back-end writes in place.
    virtual void run(const std::vector<const float*>& inputs, const std::vector<OutputRequest>& outputs) = 0;

    /// As BRELLIX_ENGINE_BACKEND calls it.
    virtual const char* name() const = 0;

    /// For tensors that the caller of `run` converts.
    FloatScratch& scratch() { return scratch_; }

  private:
    FloatScratch scratch_;
};

/// A network that needs something to run it.
struct BackendRequest {
    const AIEngineConfig& config;
    const onnx::ModelProto& model;
    EngineNetwork& network;  ///< a back-end that can run a network of open extents settles them here
};

/// What has to be done before the first network is read; does it once, whichever thread comes first.
void prepareBackends();

/// Chooses the back-end that the environment asks for, or the first of those compiled in that runs the
/// network.
/// \throws Refusal (`kBadEnvironment`, `kBackendRefusal`).
std::shared_ptr<EngineBackend> makeBackend(const Environment& environment, const BackendRequest& request);

}  // namespace ai_orvo::alg::common
