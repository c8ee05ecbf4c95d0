#pragma once

/// \file
/// Tensors for tests, from values.

#include "brellix/ai_engine.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace brellix::reference {

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

}  // namespace brellix::reference
