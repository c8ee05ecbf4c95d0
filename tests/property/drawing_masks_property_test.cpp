#include "reference/drawing.h"
#include "support/comparison.h"
#include "support/random.h"

#include "brellix/drawing.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using ai_orvo::model::CLASS_COLORS;
using ai_orvo::model::MASK_COLORS;
using ai_orvo::model::Object;

std::vector<Object> randomObjects(Random& random, const cv::Size& size) {
    std::vector<Object> objects(static_cast<std::size_t>(random.integer(0, 6)));
    for (Object& object : objects) {
        const auto width = static_cast<float>(size.width);
        const auto height = static_cast<float>(size.height);
        object.rect = {random.real(-20.0F, width), random.real(-20.0F, height + 2.0F),
                       random.real(-2.0F, width), random.real(-2.0F, height)};
        object.label = random.integer(0, 79);
        object.prob = random.real(0.0F, 1.0F);
        if (random.chance(0.8)) {
            object.mask = random.image(size, CV_8UC1) > 128;
        }
    }
    return objects;
}

TEST(DrawingMasksProperty, MasksAndBoxesGiveThePictureOfTheReference) {
    Random random(111);
    const std::vector<std::string> names(80, "some class");
    for (int i = 0; i < 200; ++i) {
        cv::Mat image = random.image({random.integer(1, 200), random.integer(1, 200)}, CV_8UC3);
        const std::vector<Object> objects = randomObjects(random, image.size());
        const cv::Mat expected =
            reference::drawObjectsMasks(image, objects, names, CLASS_COLORS, MASK_COLORS);
        cv::Mat result = random.chance(0.5) ? cv::Mat() : image;  // the picture itself may take the drawing
        ai_orvo::model::draw_objects_masks(image, result, objects, names, CLASS_COLORS, MASK_COLORS);
        ASSERT_TRUE(sameImage(result, expected)) << "case " << i << " picture " << image.size();
    }
}

TEST(DrawingMasksProperty, PatchesOddValuesAndOtherPicturesGiveThePictureOfTheReference) {
    Random random(113);
    const std::vector<std::string> names(80, "patch");
    for (int i = 0; i < 60; ++i) {
        const cv::Size size{random.integer(1, 150), random.integer(1, 90)};
        const cv::Mat image = random.image(size, random.oneOf({CV_8UC3, CV_8UC3, CV_8UC1, CV_8UC4}));
        std::vector<Object> objects(3);
        for (Object& object : objects) {
            object.label = random.integer(0, 79);
            object.mask = cv::Mat::zeros(size, CV_8U);
            const cv::Rect patch{random.integer(0, size.width - 1), random.integer(0, size.height - 1), 40,
                                 30};
            object.mask(patch & cv::Rect({0, 0}, size)).setTo(random.oneOf({1, 128, 255}));
        }
        cv::Mat result;
        ai_orvo::model::draw_objects_masks(image, result, objects, names, CLASS_COLORS, MASK_COLORS);
        ASSERT_TRUE(
            sameImage(result, reference::drawObjectsMasks(image, objects, names, CLASS_COLORS, MASK_COLORS)))
            << "case " << i << " picture " << size << " type " << image.type();
    }
}

TEST(DrawingMasksProperty, AMaskOfAnotherSizeAndALabelOutsideTheTablesThrow) {
    Random random(112);
    const cv::Mat image = random.image({40, 30}, CV_8UC3);
    const std::vector<std::string> names(80, "x");
    cv::Mat result;
    std::vector<Object> objects(1);
    objects[0].mask = cv::Mat::zeros(30, 41, CV_8U);
    EXPECT_THROW(ai_orvo::model::draw_objects_masks(image, result, objects, names, CLASS_COLORS, MASK_COLORS),
                 cv::Exception);
    objects[0].mask = cv::Mat::zeros(30, 40, CV_8U);
    for (const int label : {-1, 80}) {
        objects[0].label = label;
        EXPECT_THROW(
            ai_orvo::model::draw_objects_masks(image, result, objects, names, CLASS_COLORS, MASK_COLORS),
            std::out_of_range)
            << label;
    }
}

}  // namespace
}  // namespace brellix::testing
