#include "yolov8_seg/dfl.h"

#include "brellix/yolov8_seg.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace ai_orvo::model {

void computeDfl(std::vector<float>& logits, int dflLen, float out[4]) {
    if (dflLen < 1) {
        return;
    }
    const auto bins = static_cast<std::size_t>(dflLen);
    // No more than there are logits: reading on throws before the rest is needed, and a bin count may be any
    // number.
    std::vector<DflBin<1>> exponentials(std::min(bins, logits.size()));
    for (std::size_t side = 0; side < 4; ++side) {
        for (std::size_t bin = 0; bin < bins; ++bin) {
            exponentials[bin] = {std::exp(logits.at(side * bins + bin))};
        }
        out[side] = expectationsOf(exponentials)[0];
    }
}

}  // namespace ai_orvo::model
