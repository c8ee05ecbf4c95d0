// Drawing boxes, and boxes with masks.

#include "scenes.h"
#include "stage.h"

#include "reference/drawing.h"
#include "support/comparison.h"
#include "support/random.h"

#include "brellix/drawing.h"

#include <opencv2/imgproc.hpp>

#include <memory>
#include <string>
#include <vector>

namespace brellix::bench {
namespace {

using ai_orvo::model::CLASS_COLORS;
using ai_orvo::model::MASK_COLORS;
using ai_orvo::model::Object;

struct DrawingCase {
    DrawingCase(const cv::Size& size, int count, bool masks) : image(picture(size)), withMasks(masks) {
        testing::Random random(31);
        for (int i = 0; i < count; ++i) {
            Object object;
            const cv::Size extent(size.width / random.integer(3, 10), size.height / random.integer(3, 10));
            const cv::Rect box({random.integer(0, size.width - extent.width),
                                random.integer(0, size.height - extent.height)},
                               extent);
            object.rect = cv::Rect2f(box);
            object.label = i % 80;
            object.prob = 0.5F;
            if (withMasks) {
                object.mask = cv::Mat::zeros(size, CV_8U);
                const cv::Point centre = (box.tl() + box.br()) / 2;
                cv::ellipse(object.mask, centre, extent / 2, 0.0, 0.0, 360.0, 255, cv::FILLED);
            }
            objects.push_back(object);
        }
    }

    cv::Mat ours() const {
        cv::Mat drawn;
        if (withMasks) {
            ai_orvo::model::draw_objects_masks(image, drawn, objects, names, CLASS_COLORS, MASK_COLORS);
        } else {
            ai_orvo::model::draw_objects(image, drawn, objects, names, CLASS_COLORS);
        }
        return drawn;
    }

    cv::Mat reference() const {
        return withMasks ? reference::drawObjectsMasks(image, objects, names, CLASS_COLORS, MASK_COLORS)
                         : reference::drawObjects(image, objects, names, CLASS_COLORS);
    }

    cv::Mat image;
    bool withMasks;
    std::vector<Object> objects;
    std::vector<std::string> names = std::vector<std::string>(80, "name");
};

Measured measure(const cv::Size& size, int count, bool withMasks) {
    const auto data = std::make_shared<DrawingCase>(size, count, withMasks);
    const auto copy = std::make_shared<cv::Mat>(data->image.clone());
    Measured measured;
    measured.ours = [=] { benchmark::DoNotOptimize(data->ours().data); };
    measured.reference = [=] { benchmark::DoNotOptimize(data->reference().data); };
    measured.floor = [=] {
        data->image.copyTo(*copy);
        for (const Object& object : data->objects) {
            readOnce(object.mask.data, object.mask.total());
        }
    };
    measured.agree = [=] { return static_cast<bool>(testing::sameImage(data->ours(), data->reference())); };
    return measured;
}

const bool registered = [] {
    for (const int count : {0, 5, 20, 60, 100}) {
        addStage("draw_objects", std::to_string(count) + " objects, 1920x1080", Other::kNone, [=] {
            return measure({1920, 1080}, count, false);
        });
    }
    for (const int count : {0, 5, 20, 60, 100}) {
        addStage("draw_objects_masks", std::to_string(count) + " objects, 1920x1080", Other::kNone, [=] {
            return measure({1920, 1080}, count, true);
        });
    }
    for (const cv::Size& size : {cv::Size(640, 480), cv::Size(1280, 720), cv::Size(3840, 2160)}) {
        addStage("draw_objects_masks",
                 "20 objects, " + std::to_string(size.width) + "x" + std::to_string(size.height),
                 Other::kNone, [=] { return measure(size, 20, true); });
    }
    return true;
}();

}  // namespace
}  // namespace brellix::bench
