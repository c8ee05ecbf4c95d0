#include "evaluation/ap_definitions.h"

namespace brellix::app {
namespace {

template <std::size_t Count>
std::array<double, Count> evenlySpaced(double first, double last) {
    const double step = (last - first) / static_cast<double>(Count - 1);
    std::array<double, Count> values{};
    for (std::size_t i = 0; i < Count; ++i) {
        values[i] = static_cast<double>(i) * step + first;
    }
    values.back() = last;
    return values;
}

}  // namespace

const std::array<double, kOverlapCount>& overlapThresholds() {
    static const auto thresholds = evenlySpaced<kOverlapCount>(0.5, 0.95);
    return thresholds;
}

const std::array<double, kRecallCount>& recallPoints() {
    static const auto points = evenlySpaced<kRecallCount>(0.0, 1.0);
    return points;
}

}  // namespace brellix::app
