#include "support/networks.h"

#include "graph/graph_check.h"

#include <algorithm>
#include <cstdint>

namespace brellix::fuzz {
namespace {

/// Extents that the file leaves open count as a large number.
bool isSmall(const onnx::ValueInfoProto& value, std::int64_t most) {
    if (!value.type().tensor_type().has_shape()) {
        return false;
    }
    std::int64_t elements = 1;
    for (const onnx::TensorShapeProto::Dimension& dimension : value.type().tensor_type().shape().dim()) {
        const std::int64_t extent = dimension.has_dim_value() ? dimension.dim_value() : most;
        if (extent < 0 || extent > most) {
            return false;
        }
        elements *= extent;
        if (elements > most) {
            return false;
        }
    }
    return true;
}

template <typename Values>
bool areSmall(const Values& values, std::int64_t most) {
    return std::all_of(values.begin(), values.end(),
                       [most](const onnx::ValueInfoProto& value) { return isSmall(value, most); });
}

}  // namespace

bool isSmall(const onnx::ModelProto& model, std::int64_t most) {
    const ai_orvo::alg::common::GraphVerdict verdict = ai_orvo::alg::common::judgeGraph(model);
    if (!verdict.fault.empty()) {
        // OpenCV never sees such a graph. ONNX Runtime has its own opinion, and the values in the middle of
        // what it runs may be large.
        return areSmall(model.graph().input(), most);
    }
    const onnx::GraphProto& graph = verdict.inferred.graph();
    return areSmall(graph.input(), most) && areSmall(graph.value_info(), most) &&
           areSmall(graph.output(), most);
}

}  // namespace brellix::fuzz
