#pragma once

/// \file
/// Tensors from values, and back.

#include "brellix/ai_engine.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace brellix::testing {

/// A tensor that holds the bytes of `values`.
inline ai_orvo::alg::common::AIBuff floatTensor(const std::vector<float>& values) {
    ai_orvo::alg::common::AIBuff tensor;
    tensor.data->resize(values.size() * sizeof(float));
    if (!values.empty()) {
        std::memcpy(tensor.data->data(), values.data(), tensor.data->size());
    }
    return tensor;
}

inline ai_orvo::alg::common::AIBuff int8Tensor(const std::vector<std::int8_t>& values, int zeroPoint,
                                               float scale) {
    ai_orvo::alg::common::AIBuff tensor;
    *tensor.data = values;
    tensor.type = ai_orvo::alg::common::kElementInt8;
    tensor.zp = zeroPoint;
    tensor.scale = scale;
    return tensor;
}

/// The float32 values that a tensor holds.
inline std::vector<float> floatsOf(const ai_orvo::alg::common::AIBuff& tensor) {
    std::vector<float> values(tensor.data->size() / sizeof(float));
    if (!values.empty()) {
        std::memcpy(values.data(), tensor.data->data(), values.size() * sizeof(float));
    }
    return values;
}

}  // namespace brellix::testing
