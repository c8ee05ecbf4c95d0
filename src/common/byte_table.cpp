#include "common/byte_table.h"

#include "brellix/quantization.h"
#include "common/thread_kept.h"

#include <algorithm>
#include <cstring>

namespace ai_orvo::model {
namespace {

// Two quantised models that take turns on a thread: a table for each of their three heads.
constexpr std::size_t kMostTables = 6;

using Table = std::shared_ptr<const ByteTable>;

/// As a bit pattern NaN is found again, and the two zeros are kept apart.
std::uint32_t bitsOf(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

/// The tables of a thread, the one made last in front.
class TableCache {
  public:
    Table find(ByteTable::Function function, int zp, float scale) const {
        const auto found = std::find_if(tables_.begin(), tables_.end(), [=](const Table& table) {
            return table != nullptr && table->isOf(function, zp, scale);
        });
        return found != tables_.end() ? *found : nullptr;
    }

    void keep(const Table& table) {
        std::move_backward(tables_.begin(), tables_.end() - 1, tables_.end());
        tables_.front() = table;
    }

  private:
    std::array<Table, kMostTables> tables_;
};

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
    auto* const cache = threadKept<TableCache>();
    Table table = cache != nullptr ? cache->find(function, zp, scale) : nullptr;
    if (table == nullptr) {
        table = std::make_shared<const ByteTable>(function, zp, scale);
        if (cache != nullptr) {
            cache->keep(table);
        }
    }
    return table;
}

}  // namespace ai_orvo::model
