#pragma once

/// \file
/// One model over many pictures.

#include "console.h"
#include "picture_result.h"

#include <brellix/cv_model.h>

#include <opencv2/core.hpp>

#include <memory>
#include <string>
#include <vector>

namespace brellix::app {

using ResultWriters = std::vector<std::unique_ptr<ResultWriter>>;

/// Runs `model` over the pictures and hands each result to the writers as soon as it is there.
///
/// A picture that cannot be used is reported, counted and passed over; a result that cannot be written ends
/// the run with `Failure`.
/// \param networkInput size of the network's input, for messages.
RunTotals runOverPictures(ai_orvo::model::CvModel& model, cv::Size networkInput,
                          const std::vector<std::string>& sources, const ResultWriters& writers,
                          Console& console);

}  // namespace brellix::app
