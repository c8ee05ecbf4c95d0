#include "common/byte_table.h"

#include "brellix/quantization.h"

#include <algorithm>
#include <cstring>

namespace ai_orvo::model {
namespace {

// Two quantised models that take turns on a thread: a table for each of their three heads.
constexpr std::size_t kMostTables = 6;

/// As a bit pattern NaN is found again, and the two zeros are kept apart.
std::uint32_t bitsOf(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

}  // namespace

ByteTable::ByteTable(Function function, int zp, float scale) : function_(function), zp_(zp), scale_(scale) {
    for (int byte = -128; byte < 128; ++byte) {
        const auto narrow = static_cast<std::int8_t>(byte);
        values_[static_cast<std::uint8_t>(narrow)] = function(deqntAffineToF32(narrow, zp, scale));
    }
}

bool ByteTable::isOf(Function function, int zp, float scale) const {
    return function_ == function && zp_ == zp && bitsOf(scale_) == bitsOf(scale);
}

std::shared_ptr<const ByteTable> byteTable(ByteTable::Function function, int zp, float scale) {
    thread_local std::array<std::shared_ptr<const ByteTable>, kMostTables> kept;
    const auto found = std::find_if(kept.begin(), kept.end(), [=](const auto& table) {
        return table != nullptr && table->isOf(function, zp, scale);
    });
    if (found != kept.end()) {
        return *found;
    }
    auto table = std::make_shared<const ByteTable>(function, zp, scale);
    std::move_backward(kept.begin(), kept.end() - 1, kept.end());
    kept.front() = table;
    return table;
}

}  // namespace ai_orvo::model
