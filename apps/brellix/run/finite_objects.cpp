#include "run/finite_objects.h"

#include "files/broken_picture.h"

#include <cmath>

namespace brellix::app {

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
