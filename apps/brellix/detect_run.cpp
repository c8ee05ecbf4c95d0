#include "detect_run.h"

#include "detect_picture.h"
#include "picture_loop.h"

namespace brellix::app {
namespace {

using ai_orvo::model::CvModel;

void addTo(RunTotals& totals, const PictureResult& result) {
    ++totals.pictures;
    totals.objects += result.objects.size();
    totals.preMs += result.report.pre_ms;
    totals.inferMs += result.report.infer_ms;
    totals.postMs += result.report.post_ms;
}

}  // namespace

RunTotals runOverPictures(CvModel& model, cv::Size networkInput, const std::vector<std::string>& sources,
                          const ResultWriters& writers, Console& console) {
    RunTotals totals;
    const auto task = [&](const std::string& source, const cv::Mat& picture) {
        const PictureResult result = detectOn(picture, source, model);
        // The results may go to the same terminal.
        console.hideStatusLine();
        for (const auto& writer : writers) {
            writer->write(result);
        }
        addTo(totals, result);
    };
    totals.failed = overPictures(sources, networkInput, console, task);
    return totals;
}

}  // namespace brellix::app
