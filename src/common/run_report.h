#pragma once

/// \file
/// Recording the run report: the engine's answers and the times of the stages.

#include "brellix/ai_engine.h"
#include "brellix/run_report.h"

#include <chrono>

namespace ai_orvo::model {

/// Calls `Init` and records its result. \return that result.
int initEngine(alg::common::AIEngine& engine, const alg::common::AIEngineConfig& config);

/// Measures one `detect`. The report changes only when `finish` is reached, never half.
class StageClock {
  public:
    /// Ends the preprocessing, runs the engine, ends the inference.
    void infer(alg::common::AIEngine& engine, alg::common::TensorMap& inputs,
               alg::common::TensorMap& outputs);

    /// Ends the postprocessing and publishes the times.
    void finish();

  private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point start_ = Clock::now();
    Clock::time_point inferenceStart_;
    Clock::time_point inferenceEnd_;
    int inferenceStatus_ = 0;
};

}  // namespace ai_orvo::model
