#include "compare/saturation.h"

#include <common/tensors.h>

#include <algorithm>
#include <limits>
#include <vector>

namespace brellix::app {
namespace {

namespace engine = ai_orvo::alg::common;
using Bytes = std::vector<std::int8_t>;

constexpr std::int8_t kLowest = std::numeric_limits<std::int8_t>::min();
constexpr std::int8_t kHighest = std::numeric_limits<std::int8_t>::max();

// Half a step is lost everywhere; the scale, a float, is off by far less than the rest.
constexpr double kMostRounded = 0.501;

std::uint64_t countOf(std::int8_t value, const Bytes& bytes) {
    return static_cast<std::uint64_t>(std::count(bytes.begin(), bytes.end(), value));
}

/// \return how many of the floats lie further from the grid of `bytes` than rounding leads.
std::uint64_t countBeyond(const engine::AIBuff& bytes, const ai_orvo::model::FloatView& floats) {
    const double step = static_cast<double>(bytes.scale);
    const double lowest = (kLowest - static_cast<double>(bytes.zp) - kMostRounded) * step;
    const double highest = (kHighest - static_cast<double>(bytes.zp) + kMostRounded) * step;
    std::uint64_t count = 0;
    for (std::size_t i = 0; i < floats.size(); ++i) {
        const double value = static_cast<double>(floats[i]);
        count += value < lowest || value > highest ? 1 : 0;
    }
    return count;
}

std::optional<std::uint64_t> cutOffOf(const std::string& name, const engine::AIBuff& bytes,
                                      const ai_orvo::model::TensorMap& others) {
    const auto other = others.find(name);
    if (other == others.end() || other->second.type != engine::kElementFloat32) {
        return std::nullopt;
    }
    const ai_orvo::model::FloatView floats(other->second);
    return floats.size() == bytes.data->size() ? std::optional(countBeyond(bytes, floats)) : std::nullopt;
}

std::optional<std::uint64_t> sumOf(const std::optional<std::uint64_t>& a,
                                   const std::optional<std::uint64_t>& b) {
    return a && b ? std::optional(*a + *b) : std::nullopt;
}

}  // namespace

double ByteCount::saturatedShare() const {
    return bytes == 0 ? 0.0 : static_cast<double>(lowest + highest) / static_cast<double>(bytes);
}

ByteCounts countBytes(const ai_orvo::model::TensorMap& tensors, const ai_orvo::model::TensorMap& floats) {
    ByteCounts counts;
    for (const auto& [name, tensor] : tensors) {
        if (tensor.type == engine::kElementInt8 && tensor.data) {
            counts[name] = {tensor.data->size(), countOf(kLowest, *tensor.data),
                            countOf(kHighest, *tensor.data), cutOffOf(name, tensor, floats)};
        }
    }
    return counts;
}

void addCounts(const ByteCounts& more, ByteCounts& total) {
    for (const auto& [name, count] : more) {
        const auto [place, isFirst] = total.emplace(name, count);
        if (isFirst) {
            continue;
        }
        ByteCount& sum = place->second;
        sum.bytes += count.bytes;
        sum.lowest += count.lowest;
        sum.highest += count.highest;
        sum.cutOff = sumOf(sum.cutOff, count.cutOff);
    }
}

}  // namespace brellix::app
