#include "compare/saturation.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace brellix::app {
namespace {

using Bytes = std::vector<std::int8_t>;

std::uint64_t countOf(std::int8_t value, const Bytes& bytes) {
    return static_cast<std::uint64_t>(std::count(bytes.begin(), bytes.end(), value));
}

}  // namespace

double ByteCount::saturatedShare() const {
    return bytes == 0 ? 0.0 : static_cast<double>(lowest + highest) / static_cast<double>(bytes);
}

ByteCounts countBytes(const ai_orvo::model::TensorMap& tensors) {
    ByteCounts counts;
    for (const auto& [name, tensor] : tensors) {
        if (tensor.type == ai_orvo::alg::common::kElementInt8 && tensor.data) {
            counts[name] = {tensor.data->size(),
                            countOf(std::numeric_limits<std::int8_t>::min(), *tensor.data),
                            countOf(std::numeric_limits<std::int8_t>::max(), *tensor.data)};
        }
    }
    return counts;
}

void addCounts(const ByteCounts& more, ByteCounts& total) {
    for (const auto& [name, count] : more) {
        ByteCount& sum = total[name];
        sum.bytes += count.bytes;
        sum.lowest += count.lowest;
        sum.highest += count.highest;
    }
}

}  // namespace brellix::app
