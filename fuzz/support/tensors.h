#pragma once

/// \file
/// Tensors, pictures and letterbox records for the targets that decode.

#include "brellix/cv_model.h"
#include "brellix/letterbox.h"
#include "support/fuzzed_data.h"

#include <opencv2/core.hpp>

#include <cstddef>

namespace brellix::fuzz {

/// `count` floats of noise from `low` to `high`, a few of them replaced by chosen values at chosen places.
ai_orvo::model::AIBuff floatTensor(FuzzedData& data, std::size_t count, float low, float high);

/// `count` bytes likewise, with any zero point and scale.
ai_orvo::model::AIBuff int8Tensor(FuzzedData& data, std::size_t count);

/// Now and then cuts bytes off the end, adds some, or takes the memory away.
void damage(FuzzedData& data, ai_orvo::model::AIBuff& tensor);

/// Ordinary ones and those with numbers that no picture gives.
ai_orvo::model::LetterboxInfo letterboxRecord(FuzzedData& data);

/// A picture of noise, 1 x 1 up to `longest` pixels a side.
cv::Mat picture(FuzzedData& data, int longest, int type);

}  // namespace brellix::fuzz
