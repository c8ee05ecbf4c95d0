#include "support/fuzzed_data.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace brellix::fuzz {
namespace {

using Floats = std::numeric_limits<float>;
using Ints = std::numeric_limits<int>;

constexpr std::array<float, 20> kStumblingBlocks = {Floats::quiet_NaN(),
                                                    Floats::infinity(),
                                                    -Floats::infinity(),
                                                    0.0F,
                                                    -0.0F,
                                                    Floats::max(),
                                                    Floats::lowest(),
                                                    Floats::min(),
                                                    Floats::denorm_min(),
                                                    2147483648.0F,
                                                    -2147483648.0F,
                                                    2147483520.0F,
                                                    1e10F,
                                                    -1e10F,
                                                    0.5F,
                                                    1.0F,
                                                    -1.0F,
                                                    0.25F,
                                                    0.99999994F,
                                                    16777216.0F};
constexpr std::array<int, 8> kOddIntegers = {Ints::min(), Ints::max(), Ints::min() + 1, Ints::max() - 5,
                                             -1,          0,           1 << 29,         65536};
// One value in so many is odd where mostly ordinary ones are asked for.
constexpr int kOrdinaryShare = 8;

float floatOf(std::uint32_t bits) {
    float value = 0.0F;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

}  // namespace

std::uint8_t FuzzedData::byte() {
    if (size_ == 0) {
        return 0;
    }
    --size_;
    return *bytes_++;
}

std::uint32_t FuzzedData::word() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        value = value << 8U | byte();
    }
    return value;
}

int FuzzedData::integer(int low, int high) {
    const std::int64_t count = std::int64_t{high} - low + 1;
    // No more bytes than the range needs, so that a changed byte changes one value.
    std::int64_t value = byte();
    for (std::int64_t reach = 256; reach < count; reach *= 256) {
        value = value * 256 + byte();
    }
    return static_cast<int>(low + value % count);
}

int FuzzedData::oddInteger(int low, int high) {
    const std::uint8_t kind = byte();
    if (kind % kOrdinaryShare != kOrdinaryShare - 1) {
        return integer(low, high);
    }
    return kind >= 128 ? static_cast<int>(word()) : kOddIntegers[byte() % kOddIntegers.size()];
}

float FuzzedData::number() {
    const std::uint8_t kind = byte();
    if (kind < 96) {
        return kStumblingBlocks[kind % kStumblingBlocks.size()];
    }
    if (kind < 192) {
        return static_cast<float>(integer(-32768, 32767)) / 64.0F;
    }
    return floatOf(word());
}

float FuzzedData::oddNumber(float low, float high) {
    if (byte() % kOrdinaryShare == kOrdinaryShare - 1) {
        return number();
    }
    return low + (high - low) * (static_cast<float>(integer(0, 65535)) / 65535.0F);
}

std::string FuzzedData::text(std::size_t longest) {
    const auto length = static_cast<std::size_t>(integer(0, static_cast<int>(longest)));
    const std::size_t taken = std::min(length, size_);
    std::string text(reinterpret_cast<const char*>(bytes_), taken);
    bytes_ += taken;
    size_ -= taken;
    return text;
}

std::string FuzzedData::rest() {
    std::string text(reinterpret_cast<const char*>(bytes_), size_);
    bytes_ += size_;
    size_ = 0;
    return text;
}

}  // namespace brellix::fuzz
