#pragma once

/// \file
/// What an ONNX file says about its inputs and outputs.

#include <onnx/onnx_pb.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "quantization/quantization.h"

namespace ai_orvo::alg::common {

constexpr std::int64_t kUnknownExtent = -1;

/// One input or output. An extent that the file leaves open is `kUnknownExtent`.
struct TensorDescription {
    std::string name;
    std::int32_t elementType = 0;     ///< an ONNX code, see `elementTypeName`
    bool hasShape = false;            ///< false where the file gives no shape at all
    std::vector<std::int64_t> shape;  ///< NCHW for images
    std::optional<AffineGrid> grid;   ///< of an output that the graph itself quantises

    /// True where every extent is known.
    bool isStatic() const;
    /// Elements of a static tensor; 0 for any other.
    std::size_t elementCount() const;
    /// "1x3x640x640", or "unknown shape".
    std::string describeShape() const;
};

struct NetworkDescription {
    std::int64_t opset = 0;
    std::vector<TensorDescription> inputs;  ///< what a caller has to give: no initializers
    std::vector<TensorDescription> outputs;
};

/// Output shapes that the file leaves open are inferred where that succeeds; `model` then holds them too.
/// \throws Refusal (`kNotAnOnnxNetwork`) for a tensor of more than 2^31 - 1 elements or a nameless one.
NetworkDescription describeNetwork(onnx::ModelProto& model, const std::string& path);

}  // namespace ai_orvo::alg::common
