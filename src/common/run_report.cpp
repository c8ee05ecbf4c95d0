#include "common/run_report.h"

#include <type_traits>

namespace ai_orvo::model {
namespace {

// Without a destructor it may be used for as long as the thread runs.
static_assert(std::is_trivially_destructible_v<RunReport>);
thread_local RunReport currentReport;

}  // namespace

RunReport last_run_report() {
    return currentReport;
}

int initEngine(alg::common::AIEngine& engine, const alg::common::AIEngineConfig& config) {
    currentReport.init_status = engine.Init(config);
    return currentReport.init_status;
}

double StageClock::endStage() {
    const Clock::time_point now = Clock::now();
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(now - start_).count();
    start_ = now;
    return static_cast<double>(microseconds) / 1000.0;
}

double StageClock::preprocessed() {
    return report_.pre_ms = endStage();
}

double StageClock::infer(alg::common::AIEngine& engine, alg::common::TensorMap& inputs,
                         alg::common::TensorMap& outputs) {
    startStage();
    report_.inference_status = engine.DoInference(inputs, outputs);
    return report_.infer_ms = endStage();
}

double StageClock::postprocessed() {
    report_.post_ms = endStage();
    report_.init_status = currentReport.init_status;
    currentReport = report_;
    return report_.post_ms;
}

}  // namespace ai_orvo::model
