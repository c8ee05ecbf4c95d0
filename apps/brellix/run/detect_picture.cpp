#include "run/detect_picture.h"

namespace brellix::app {

BrokenPicture engineFailed(int status) {
    return BrokenPicture("the engine failed (code " + std::to_string(status) + ")");
}

PictureResult detectOn(const cv::Mat& picture, const std::string& source, ai_orvo::model::CvModel& model) {
    PictureResult result;
    result.id.source = source;
    result.picture = picture;
    model.detect(result.picture, result.objects);
    result.report = ai_orvo::model::last_run_report();
    if (result.report.inference_status != 0) {
        throw engineFailed(result.report.inference_status);
    }
    return result;
}

}  // namespace brellix::app
