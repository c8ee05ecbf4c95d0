#include "detect_picture.h"

#include "picture_reader.h"

#include <cmath>

namespace brellix::app {

PictureResult detectOn(const cv::Mat& picture, const std::string& source, ai_orvo::model::CvModel& model) {
    PictureResult result;
    result.source = source;
    result.picture = picture;
    model.detect(result.picture, result.objects);
    result.report = ai_orvo::model::last_run_report();
    if (result.report.inference_status != 0) {
        throw engineFailed(result.report.inference_status);
    }
    return result;
}

void requireNumbers(const std::vector<ai_orvo::model::Object>& objects) {
    for (const ai_orvo::model::Object& object : objects) {
        const cv::Rect2f& box = object.rect;
        for (const float number : {object.prob, box.x, box.y, box.width, box.height}) {
            if (!std::isfinite(number)) {
                throw BrokenPicture("the model gave an object whose box or probability is no number");
            }
        }
    }
}

}  // namespace brellix::app
