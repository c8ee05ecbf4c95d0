#pragma once

/// \file
/// Distribution focal loss: a distance as the expectation over bins.

#include <array>
#include <cstddef>
#include <vector>

namespace ai_orvo::model {

/// The exponentials of one bin, one for each distribution.
template <std::size_t kDistributions>
using DflBin = std::array<float, kDistributions>;

/// \return for each distribution the sum of bin number * share, where a bin's share is its exponential over
///     the sum of all. Each distribution is added up from its first bin to its last; several are added up
///     side by side, because each addition waits for the one before it.
template <std::size_t kDistributions>
std::array<float, kDistributions> expectationsOf(const std::vector<DflBin<kDistributions>>& bins) {
    std::array<float, kDistributions> sums{};
    for (const DflBin<kDistributions>& bin : bins) {
        for (std::size_t i = 0; i < kDistributions; ++i) {
            sums[i] += bin[i];
        }
    }
    std::array<float, kDistributions> expectations{};
    for (std::size_t number = 0; number < bins.size(); ++number) {
        for (std::size_t i = 0; i < kDistributions; ++i) {
            expectations[i] += bins[number][i] / sums[i] * static_cast<float>(number);
        }
    }
    return expectations;
}

}  // namespace ai_orvo::model
