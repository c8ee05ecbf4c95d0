#include "detect_run.h"

#include "picture_reader.h"
#include "progress.h"
#include "text.h"

#include <algorithm>
#include <cmath>
#include <exception>

namespace brellix::app {
namespace {

using ai_orvo::model::CvModel;

std::string sizeText(cv::Size size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

bool vanishesInNetworkInput(cv::Size picture, cv::Size networkInput) {
    const float scale =
        std::min(static_cast<float>(networkInput.width) / static_cast<float>(picture.width),
                 static_cast<float>(networkInput.height) / static_cast<float>(picture.height));
    return std::round(static_cast<float>(std::min(picture.width, picture.height)) * scale) < 1.0F;
}

std::string whyDetectThrew(const cv::Exception& exception, cv::Size picture, cv::Size networkInput) {
    if (vanishesInNetworkInput(picture, networkInput)) {
        return "at " + sizeText(picture) + " pixels too thin: scaled to the network input of " +
               sizeText(networkInput) + " nothing is left of it";
    }
    return "cannot be processed: " + exception.err;
}

/// \return the result for one picture. Throws `BrokenPicture` and what decoding and detection throw.
PictureResult processPicture(CvModel& model, const std::string& source, cv::Size networkInput) {
    PictureResult result;
    result.source = source;
    result.picture = readPicture(source);
    try {
        model.detect(result.picture, result.objects);
    } catch (const cv::Exception& exception) {
        throw BrokenPicture(whyDetectThrew(exception, result.picture.size(), networkInput));
    }
    result.report = ai_orvo::model::last_run_report();
    if (result.report.inference_status != 0) {
        throw BrokenPicture("the engine failed (code " + std::to_string(result.report.inference_status) +
                            ")");
    }
    return result;
}

void addTo(RunTotals& totals, const PictureResult& result) {
    ++totals.pictures;
    totals.objects += result.objects.size();
    totals.preMs += result.report.pre_ms;
    totals.inferMs += result.report.infer_ms;
    totals.postMs += result.report.post_ms;
}

/// Tries one picture; a result comes back through `result`, a failure is reported.
bool tryPicture(CvModel& model, const std::string& source, cv::Size networkInput, Console& console,
                PictureResult& result) {
    try {
        result = processPicture(model, source, networkInput);
        return true;
    } catch (const std::exception& error) {
        console.error(source + ": " + error.what());
        return false;
    }
}

void showProgress(const Progress& progress, Console& console) {
    if (console.hasStatusLine()) {
        console.showStatusLine(progress.text());
    }
}

}  // namespace

RunTotals runOverPictures(CvModel& model, cv::Size networkInput, const std::vector<std::string>& sources,
                          const ResultWriters& writers, Console& console) {
    RunTotals totals;
    Progress progress(sources.size());
    for (const std::string& source : sources) {
        showProgress(progress, console);
        PictureResult result;
        const bool isProcessed = tryPicture(model, source, networkInput, console, result);
        // The results may go to the same terminal.
        console.hideStatusLine();
        if (isProcessed) {
            addTo(totals, result);
            for (const auto& writer : writers) {
                writer->write(result);
            }
        } else {
            ++totals.failed;
        }
        progress.advance();
    }
    return totals;
}

}  // namespace brellix::app
