#pragma once

/// \file
/// Distribution focal loss: a distance as the expectation over bins.

#include <vector>

namespace ai_orvo::model {

/// \return the sum of bin number * share, where a bin's share is its exponential over the sum of all.
float expectationOf(const std::vector<float>& exponentials);

}  // namespace ai_orvo::model
