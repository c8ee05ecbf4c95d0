#pragma once

/// \file
/// The same pictures again and again through one model.

#include "console/console.h"
#include "run/stage_times.h"

#include <brellix/cv_model.h>

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace brellix::app {

/// A picture in memory, so that reading and decoding files is not measured.
struct LoadedPicture {
    std::string source;
    cv::Mat pixels;
};

struct BenchPlan {
    std::size_t warmUp;  ///< frames that are run first and not measured
    std::size_t frames;
};

struct BenchResult {
    std::size_t frames = 0;
    TimeSummary pre;
    TimeSummary infer;
    TimeSummary post;
    TimeSummary detect;  ///< the whole call
    double framesPerSecond = 0.0;
    std::int64_t peakMemoryBytes = 0;  ///< of the process since it began
    std::string backEnd;               ///< of our engine; "unknown" with a board's own
};

/// Runs the plan, the pictures in turn. Throws `Failure` for a picture that the model cannot be run on.
BenchResult runBench(ai_orvo::model::CvModel& model, const std::vector<LoadedPicture>& pictures,
                     const BenchPlan& plan, Console& console);

}  // namespace brellix::app
