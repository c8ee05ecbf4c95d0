#pragma once

/// \file
/// Recording the run report: the engine's answers and the times of the stages.

#include "brellix/ai_engine.h"
#include "brellix/run_report.h"

#include <chrono>

namespace ai_orvo::model {

/// Calls `Init` and records its result. \return that result.
int initEngine(alg::common::AIEngine& engine, const alg::common::AIEngineConfig& config);

/// Measures one `detect`, stage by stage; each operation ends a stage and returns its time in milliseconds,
/// whole microseconds. What happens between two stages and is no stage (logging) does not count where
/// `startStage` follows it. The report changes only when the last stage ends, never half.
class StageClock {
  public:
    void startStage() { start_ = Clock::now(); }
    double preprocessed();
    double infer(alg::common::AIEngine& engine, alg::common::TensorMap& inputs,
                 alg::common::TensorMap& outputs);
    double postprocessed();

  private:
    using Clock = std::chrono::system_clock;

    /// The time since the stage began; the next one begins now.
    double endStage();

    Clock::time_point start_ = Clock::now();
    RunReport report_;
};

}  // namespace ai_orvo::model
