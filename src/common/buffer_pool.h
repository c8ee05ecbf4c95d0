#pragma once

/// \file
/// Memory for tensors that is used again for the next frame.

#include "brellix/ai_engine.h"

#include <cstddef>

namespace ai_orvo::model {

/// \return a float32 tensor of `bytes` bytes whose content is left over from earlier frames.
///
/// Each thread keeps the memory of its latest tensors and gives it out again once nobody else holds it: a
/// frame then neither asks the system for memory nor clears what is overwritten anyway.
alg::common::AIBuff pooledTensor(std::size_t bytes);

/// The same filled with zeros.
alg::common::AIBuff pooledZeros(std::size_t bytes);

}  // namespace ai_orvo::model
