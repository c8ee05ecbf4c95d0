#include "reference/dfl.h"

#include <cmath>
#include <cstddef>

namespace brellix::reference {

void computeDfl(const std::vector<float>& logits, int dflLen, float out[4]) {
    if (dflLen < 1) {
        return;
    }
    const auto bins = static_cast<std::size_t>(dflLen);
    for (std::size_t side = 0; side < 4; ++side) {
        std::vector<float> exponentials;
        float sum = 0.0F;
        for (std::size_t t = 0; t < bins; ++t) {
            // Without subtracting the greatest logit first: large ones overflow, and the side becomes NaN.
            exponentials.push_back(std::exp(logits.at(side * bins + t)));
            sum += exponentials.back();
        }
        float expectation = 0.0F;
        for (std::size_t t = 0; t < bins; ++t) {
            const float probability = exponentials[t] / sum;
            expectation += probability * static_cast<float>(t);
        }
        out[side] = expectation;
    }
}

}  // namespace brellix::reference
