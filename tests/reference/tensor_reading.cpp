#include "reference/tensor_reading.h"

#include <cstring>
#include <stdexcept>

namespace brellix::reference {

using ai_orvo::alg::common::AIBuff;

std::size_t byteCount(const AIBuff& buffer) {
    return buffer.data == nullptr ? 0 : buffer.data->size();
}

bool holdsElements(const AIBuff& buffer, std::size_t elementSize,
                   std::initializer_list<std::int64_t> factors) {
    for (const std::int64_t factor : factors) {
        if (factor < 1) {
            return true;
        }
    }
    // Dividing instead of multiplying: the product of hostile sizes need not fit into any integer.
    std::uint64_t left = byteCount(buffer) / elementSize;
    for (const std::int64_t factor : factors) {
        left /= static_cast<std::uint64_t>(factor);
    }
    return left >= 1;
}

float floatElement(const AIBuff& buffer, std::size_t index) {
    if (index >= byteCount(buffer) / sizeof(float)) {
        throw std::out_of_range("float element outside the tensor");
    }
    float value = 0.0F;
    std::memcpy(&value, buffer.data->data() + index * sizeof(float), sizeof(float));
    return value;
}

std::int8_t byteElement(const AIBuff& buffer, std::size_t index) {
    if (index >= byteCount(buffer)) {
        throw std::out_of_range("byte element outside the tensor");
    }
    return (*buffer.data)[index];
}

}  // namespace brellix::reference
