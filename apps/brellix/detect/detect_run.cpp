#include "detect/detect_run.h"

#include "run/detect_picture.h"
#include "sources/frame_loop.h"

namespace brellix::app {
namespace {

void addTo(RunTotals& totals, const PictureResult& result) {
    ++totals.pictures;
    totals.objects += result.objects.size();
    totals.preMs += result.report.pre_ms;
    totals.inferMs += result.report.infer_ms;
    totals.postMs += result.report.post_ms;
}

}  // namespace

void runOverFrames(const DetectRun& run, FrameSource& source, Console& console, RunTotals& totals) {
    const auto task = [&](const Frame& frame) {
        PictureResult result = detectOn(frame.picture, frame.id.source, run.model);
        result.id = frame.id;
        run.classes.apply(result.objects);
        // The results may go to the same terminal.
        console.hideStatusLine();
        for (const auto& writer : run.writers) {
            writer->write(result);
        }
        addTo(totals, result);
    };
    const LoopOutcome outcome = overFrames(source, run.networkInput, console, task, run.limit);
    totals.failed = outcome.failed;
    totals.isStopped = outcome.isStopped;
}

}  // namespace brellix::app
