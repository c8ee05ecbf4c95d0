#include "brellix/yolov8_seg.h"

#include <cmath>
#include <cstddef>

namespace ai_orvo::model {

void computeDfl(std::vector<float>& logits, int dflLen, float out[4]) {
    if (dflLen < 1) {
        return;
    }
    const auto bins = static_cast<std::size_t>(dflLen);
    for (std::size_t side = 0; side < 4; ++side) {
        std::vector<float> exponentials(bins);
        float sum = 0.0F;
        for (std::size_t bin = 0; bin < bins; ++bin) {
            exponentials[bin] = std::exp(logits.at(side * bins + bin));
            sum += exponentials[bin];
        }
        float expectation = 0.0F;
        for (std::size_t bin = 0; bin < bins; ++bin) {
            expectation += exponentials[bin] / sum * static_cast<float>(bin);
        }
        out[side] = expectation;
    }
}

}  // namespace ai_orvo::model
