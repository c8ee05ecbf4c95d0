// Pictures with boxes, labels and masks.

#include "identity/record.h"
#include "identity/sample_pictures.h"
#include "identity/seeded.h"

#include "brellix/drawing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using ai_orvo::model::CLASS_COLORS;
using ai_orvo::model::MASK_COLORS;
using ai_orvo::model::Object;

const std::vector<std::string>& names() {
    static const std::vector<std::string> list = [] {
        std::vector<std::string> names(80, "some class");
        names[1].clear();
        names[2] = "100 %s %n";
        names[3] = std::string(300, 'w');
        names[4] = "caf\xc3\xa9 two\nlines";
        return names;
    }();
    return list;
}

/// Objects somewhere in and around the picture, a few with odd numbers.
std::vector<Object> randomObjects(Seeded& seeded, const cv::Size& size, bool withMasks) {
    std::vector<Object> objects(static_cast<std::size_t>(seeded.integer(1, 6)));
    for (Object& object : objects) {
        const auto width = static_cast<float>(size.width);
        const auto height = static_cast<float>(size.height);
        object.rect.x = seeded.real(-20.0F, width);
        object.rect.y = seeded.real(-20.0F, height);
        object.rect.width = seeded.oneIn(30) ? seeded.hostile() : seeded.real(-2.0F, width);
        object.rect.height = seeded.real(-2.0F, height);
        object.label = seeded.integer(0, 79);
        object.prob = seeded.oneIn(10) ? seeded.hostile() : seeded.real(0.0F, 1.0F);
        if (withMasks && !seeded.oneIn(5)) {
            object.mask = seeded.mask(size);
        }
    }
    return objects;
}

/// Noise of many sizes, and the sample pictures.
std::vector<cv::Mat> canvases(Seeded& seeded) {
    std::vector<cv::Mat> pictures = samplePictures();
    for (int i = 0; i < 80; ++i) {
        const int width = seeded.integer(1, 260);
        const int height = seeded.integer(1, 260);
        pictures.push_back(seeded.image({width, height}, seeded.oneOf({3, 3, 1, 4})));
    }
    return pictures;
}

TEST(DrawingIdentity, Boxes) {
    Seeded seeded(61);
    Digest digest;
    for (const cv::Mat& picture : canvases(seeded)) {
        cv::Mat result;
        ai_orvo::model::draw_objects(picture, result, randomObjects(seeded, picture.size(), false), names(),
                                     CLASS_COLORS);
        digest.add(result);
    }
    EXPECT_TRUE(Record::instance().agrees("drawing.boxes", digest));
}

TEST(DrawingIdentity, Masks) {
    Seeded seeded(62);
    Digest digest;
    for (const cv::Mat& picture : canvases(seeded)) {
        cv::Mat result;
        ai_orvo::model::draw_objects_masks(picture, result, randomObjects(seeded, picture.size(), true),
                                           names(), CLASS_COLORS, MASK_COLORS);
        digest.add(result);
    }
    EXPECT_TRUE(Record::instance().agrees("drawing.masks", digest));
}

}  // namespace
}  // namespace brellix::testing
