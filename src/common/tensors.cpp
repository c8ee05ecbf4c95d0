#include "common/tensors.h"

#include "common/buffer_pool.h"

#include <stdexcept>

namespace ai_orvo::model {

alg::common::AIBuff outputTensor(int elements, std::size_t elementSize) {
    if (elements < 0) {
        throw std::length_error("the configured output size is negative");
    }
    return pooledZeros(static_cast<std::size_t>(elements) * elementSize);
}

}  // namespace ai_orvo::model
