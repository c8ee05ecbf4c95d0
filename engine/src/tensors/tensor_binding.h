#pragma once

/// \file
/// The caller's buffers bound to the network's tensors: which is which, and in what form the bytes are.

#include <vector>

#include "brellix/ai_engine.h"
#include "graph/engine_network.h"

namespace ai_orvo::alg::common {

/// The byte size of a buffer says its form.
enum class BufferForm {
    kFloat32,  ///< 4 bytes an element (an output buffer may be longer: what lies behind stays as it is)
    kByte,     ///< 1 byte an element: an interleaved image as input, int8 as output
};

struct BoundTensor {
    std::size_t index;  ///< into the network's inputs or outputs
    AIBuff* buffer;
    BufferForm form;

    float* floats() const;
};

/// One for each network input, in the network's order.
/// \throws Refusal (`kBadInputs`).
std::vector<BoundTensor> bindInputs(const EngineNetwork& network, TensorMap& inputs);

/// One for each output that the caller wants.
/// \throws Refusal (`kBadOutputs`).
std::vector<BoundTensor> bindOutputs(const EngineNetwork& network, TensorMap& outputs);

}  // namespace ai_orvo::alg::common
