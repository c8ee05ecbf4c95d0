#pragma once

/// \file
/// What came out of one picture, what came out of all of them, and the interface of what presents it.

#include "sources/frame.h"

#include <brellix/cv_model.h>
#include <brellix/run_report.h>

#include <opencv2/core.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace brellix::app {

struct PictureResult {
    FrameId id;
    cv::Mat picture;  ///< its pixels, BGR
    std::vector<ai_orvo::model::Object> objects;
    ai_orvo::model::RunReport report;  ///< the times of the stages
};

struct RunTotals {
    std::string noun = "picture";  ///< what is counted: "frame" where videos or streams are among them
    std::size_t pictures = 0;      ///< that were processed
    std::size_t failed = 0;        ///< that were not
    bool isStopped = false;        ///< somebody asked for the end before all were done
    std::size_t objects = 0;
    double preMs = 0.0;  ///< sums over the processed ones
    double inferMs = 0.0;
    double postMs = 0.0;
};

/// One form of presenting results. Both operations throw `Failure` where it cannot be written.
class ResultWriter {
  public:
    ResultWriter() = default;
    ResultWriter(const ResultWriter&) = delete;
    ResultWriter& operator=(const ResultWriter&) = delete;
    virtual ~ResultWriter() = default;

    virtual void write(const PictureResult& result) = 0;
    virtual void finish(const RunTotals& totals) = 0;
};

}  // namespace brellix::app
