#include "common/run_report.h"

namespace ai_orvo::model {
namespace {

thread_local RunReport currentReport;

double milliseconds(std::chrono::steady_clock::duration elapsed) {
    return std::chrono::duration<double, std::milli>(elapsed).count();
}

}  // namespace

RunReport last_run_report() {
    return currentReport;
}

int initEngine(alg::common::AIEngine& engine, const alg::common::AIEngineConfig& config) {
    currentReport.init_status = engine.Init(config);
    return currentReport.init_status;
}

void StageClock::infer(alg::common::AIEngine& engine, alg::common::TensorMap& inputs,
                       alg::common::TensorMap& outputs) {
    inferenceStart_ = Clock::now();
    inferenceStatus_ = engine.DoInference(inputs, outputs);
    inferenceEnd_ = Clock::now();
}

void StageClock::finish() {
    currentReport.inference_status = inferenceStatus_;
    currentReport.pre_ms = milliseconds(inferenceStart_ - start_);
    currentReport.infer_ms = milliseconds(inferenceEnd_ - inferenceStart_);
    currentReport.post_ms = milliseconds(Clock::now() - inferenceEnd_);
}

}  // namespace ai_orvo::model
