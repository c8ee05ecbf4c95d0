#pragma once

/// \file
/// Which tensor of the network a name means.

#include <cstddef>
#include <string>
#include <vector>

#include "graph/network_description.h"

namespace ai_orvo::alg::common {

/// The tensor of that name; or, where one tensor is named and the network has one, that one whatever its
/// name, so that an export with input `images` runs under a model that says `image`. Null where neither
/// holds.
const TensorDescription* matchTensor(const std::vector<TensorDescription>& tensors, const std::string& name,
                                     std::size_t namedTensors);

/// "'a' (1x3x8x8), 'b' (1x4)": what a refusal lists.
std::string listTensors(const std::vector<TensorDescription>& tensors);

}  // namespace ai_orvo::alg::common
