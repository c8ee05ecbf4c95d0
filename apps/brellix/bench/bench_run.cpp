#include "bench/bench_run.h"

#include "console/failure.h"
#include "network/back_end_choice.h"
#include "run/detect_picture.h"

#include <sys/resource.h>

#include <chrono>
#include <exception>

namespace brellix::app {
namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

std::int64_t peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return std::int64_t{usage.ru_maxrss} * 1024;
}

PictureResult runOn(const LoadedPicture& picture, ai_orvo::model::CvModel& model) {
    try {
        return detectOn(picture.pixels, picture.source, model);
    } catch (const std::exception& error) {
        throw failedAtWork(picture.source + ": " + error.what());
    }
}

/// The times of all frames, a list a stage.
struct StageTimes {
    std::vector<double> pre;
    std::vector<double> infer;
    std::vector<double> post;
    std::vector<double> detect;

    void add(const ai_orvo::model::RunReport& report, double whole) {
        pre.push_back(report.pre_ms);
        infer.push_back(report.infer_ms);
        post.push_back(report.post_ms);
        detect.push_back(whole);
    }
};

void showProgress(Console& console, const std::string& what, std::size_t done, std::size_t total) {
    // Between two frames, where no clock runs; seldom, since a terminal takes its time, too.
    if (console.hasStatusLine() && done % 16 == 0) {
        console.showStatusLine(what + ' ' + std::to_string(done) + '/' + std::to_string(total) + " frames");
    }
}

}  // namespace

BenchResult runBench(ai_orvo::model::CvModel& model, const std::vector<LoadedPicture>& pictures,
                     const BenchPlan& plan, Console& console) {
    for (std::size_t frame = 0; frame < plan.warmUp; ++frame) {
        showProgress(console, "warming up,", frame, plan.warmUp);
        runOn(pictures[frame % pictures.size()], model);
    }
    StageTimes times;
    double measured = 0.0;
    for (std::size_t frame = 0; frame < plan.frames; ++frame) {
        showProgress(console, "measuring,", frame, plan.frames);
        const LoadedPicture& picture = pictures[frame % pictures.size()];
        const Clock::time_point start = Clock::now();
        const PictureResult result = runOn(picture, model);
        const double whole = millisecondsSince(start);
        times.add(result.report, whole);
        measured += whole;
    }
    console.hideStatusLine();
    return {
        plan.frames,           summaryOf(times.pre),    summaryOf(times.infer),
        summaryOf(times.post), summaryOf(times.detect), 1000.0 * static_cast<double>(plan.frames) / measured,
        peakMemory(),          lastBackEndName()};
}

}  // namespace brellix::app
