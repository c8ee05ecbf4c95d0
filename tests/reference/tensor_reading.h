#pragma once

/// \file
/// Elements of a tensor's byte buffer.

#include "brellix/ai_engine.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace brellix::reference {

/// 0 for a buffer without a vector.
std::size_t byteCount(const ai_orvo::alg::common::AIBuff& buffer);

/// Whether the buffer holds at least the product of `factors` elements of `elementSize` bytes each. A factor
/// below 1 makes the product 0, which every buffer holds.
bool holdsElements(const ai_orvo::alg::common::AIBuff& buffer, std::size_t elementSize,
                   std::initializer_list<std::int64_t> factors);

/// Element `index` of a float tensor.
/// \throws std::out_of_range where the element does not lie completely inside the buffer.
float floatElement(const ai_orvo::alg::common::AIBuff& buffer, std::size_t index);

/// Element `index` of an 8-bit tensor.
/// \throws std::out_of_range outside the buffer.
std::int8_t byteElement(const ai_orvo::alg::common::AIBuff& buffer, std::size_t index);

}  // namespace brellix::reference
