#pragma once

/// \file
/// The int8 grid that a quantised network states for one of its outputs.

#include <onnx/onnx_pb.h>

#include <optional>
#include <string>

#include "quantization/quantization.h"

namespace ai_orvo::alg::common {

/// An output that ends in QuantizeLinear, in QuantizeLinear followed by DequantizeLinear, or in
/// DequantizeLinear of bytes that a quantised operator computes.
struct QuantizedOutput {
    std::string floatValue;  ///< the value that is quantised; in the last case the output itself
    AffineGrid grid;         ///< of signed bytes; an unsigned zero point is moved by 128
};

/// Nothing where the output is not quantised that way, or not with one scale for the whole tensor.
std::optional<QuantizedOutput> quantizedOutput(const onnx::GraphProto& graph, const std::string& output);

}  // namespace ai_orvo::alg::common
