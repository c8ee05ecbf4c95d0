#pragma once

/// \file
/// One model over many frames.

#include "console/console.h"
#include "detect/class_filter.h"
#include "run/picture_result.h"
#include "sources/frame_source.h"

#include <brellix/cv_model.h>

#include <opencv2/core.hpp>

#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

namespace brellix::app {

using ResultWriters = std::vector<std::unique_ptr<ResultWriter>>;

/// What is done with the frames.
struct DetectRun {
    ai_orvo::model::CvModel& model;
    cv::Size networkInput;  ///< size of the network's input, for messages
    const ClassFilter& classes;
    const ResultWriters& writers;
    std::size_t limit = std::numeric_limits<std::size_t>::max();  ///< frames to process at most
};

/// Runs the model over the frames and hands each result to the writers as soon as it is there.
///
/// A frame that cannot be used is reported, counted and passed over; a result that cannot be written ends
/// the run with `Failure`.
/// \param totals counts what is processed as it goes, so that it holds that also where the run fails; how
///               many frames failed, and whether the run was stopped, it learns at the end.
void runOverFrames(const DetectRun& run, FrameSource& source, Console& console, RunTotals& totals);

}  // namespace brellix::app
