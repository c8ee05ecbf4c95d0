#include "reference/drawing.h"
#include "support/comparison.h"
#include "support/random.h"

#include "brellix/drawing.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using ai_orvo::model::Object;

const std::vector<std::string>& awkwardNames() {
    static const std::vector<std::string> names = {
        "person", "", "100 %s %n", std::string(300, 'w'), "two\nlines", "caf\xc3\xa9", "traffic light"};
    return names;
}

std::vector<std::vector<unsigned int>> randomColors(Random& random, std::size_t count) {
    std::vector<std::vector<unsigned int>> colors(count);
    for (auto& color : colors) {
        for (int i = 0; i < 3 + random.integer(0, 1); ++i) {
            color.push_back(static_cast<unsigned int>(random.integer(0, 255)));
        }
    }
    return colors;
}

/// A box with fractions somewhere around the picture, often touching its border.
cv::Rect_<float> oddBox(Random& random, const cv::Size& size) {
    const auto width = static_cast<float>(size.width);
    const auto height = static_cast<float>(size.height);
    if (random.chance(0.2)) {
        return {random.oneOf({-0.5F, 0.5F, width - 1.5F, width}),
                random.oneOf({height - 1.0F, height, height + 0.5F}), random.oneOf({0.0F, 1.0F, width}),
                random.oneOf({0.0F, -3.0F, height})};
    }
    const float reach = random.chance(0.1) ? 20.0F : 1.0F;
    return {random.real(-width * reach, width * reach), random.real(-height * reach, height * reach),
            random.real(-5.0F, width), random.real(-5.0F, height)};
}

std::vector<Object> randomObjects(Random& random, const cv::Size& size) {
    std::vector<Object> objects(static_cast<std::size_t>(random.integer(1, 8)));
    for (Object& object : objects) {
        object.rect = oddBox(random, size);
        object.label = random.integer(0, static_cast<int>(awkwardNames().size()) - 1);
        object.prob = random.chance(0.1) ? random.hostile() : random.real(0.0F, 1.0F);
    }
    return objects;
}

TEST(DrawingProperty, OddBoxesAndNamesGiveThePictureOfTheReference) {
    Random random(41);
    int changed = 0;
    for (int i = 0; i < 600; ++i) {
        const int type = random.oneOf({CV_8UC3, CV_8UC3, CV_8UC1, CV_8UC4});
        const cv::Mat image = random.image({random.integer(1, 260), random.integer(1, 260)}, type);
        const std::vector<Object> objects = randomObjects(random, image.size());
        const auto colors = randomColors(random, awkwardNames().size());
        const cv::Mat expected = reference::drawObjects(image, objects, awkwardNames(), colors);
        const cv::Mat before = image.clone();
        cv::Mat result;
        ai_orvo::model::draw_objects(image, result, objects, awkwardNames(), colors);
        ASSERT_TRUE(sameImage(result, expected)) << "case " << i << " picture " << image.size();
        ASSERT_TRUE(sameImage(image, before)) << "case " << i;
        changed += sameImage(expected, before) ? 0 : 1;
    }
    EXPECT_GT(changed, 450);
}

TEST(DrawingProperty, TheResultMayBeThePictureOrAPartOfOne) {
    Random random(42);
    for (int i = 0; i < 60; ++i) {
        cv::Mat parent = random.image({200, 160}, CV_8UC3);
        const cv::Mat parentBefore = parent.clone();
        cv::Mat image = parent(cv::Rect{random.integer(0, 50), random.integer(0, 50), 120, 90});
        const std::vector<Object> objects = randomObjects(random, image.size());
        const auto colors = randomColors(random, awkwardNames().size());
        const cv::Mat expected = reference::drawObjects(image, objects, awkwardNames(), colors);
        ai_orvo::model::draw_objects(image, image, objects, awkwardNames(), colors);
        ASSERT_TRUE(sameImage(image, expected)) << "case " << i;
        ASSERT_TRUE(sameImage(parent, parentBefore)) << "case " << i;
    }
}

TEST(DrawingProperty, ALabelOutsideTheTablesThrowsAndLeavesTheResult) {
    Random random(43);
    const cv::Mat image = random.image({60, 40}, CV_8UC3);
    const cv::Mat old = random.image({7, 5}, CV_8UC3);
    for (const int label : {-1, 7, 1000, -2147483647 - 1, 2147483647}) {
        std::vector<Object> objects = randomObjects(random, image.size());
        objects.back().label = label;
        const auto colors = randomColors(random, awkwardNames().size());
        cv::Mat result = old.clone();
        EXPECT_THROW(ai_orvo::model::draw_objects(image, result, objects, awkwardNames(), colors),
                     std::out_of_range)
            << label;
        EXPECT_TRUE(sameImage(result, old)) << label;
    }
}

TEST(DrawingProperty, BoxesThatAreNoNumbersDoNoHarm) {
    Random random(44);
    const cv::Mat image = random.image({90, 70}, CV_8UC3);
    const auto colors = randomColors(random, awkwardNames().size());
    for (int i = 0; i < 100; ++i) {
        std::vector<Object> objects = randomObjects(random, image.size());
        for (Object& object : objects) {
            object.rect = {random.hostile(), random.hostile(), random.hostile(), random.hostile()};
        }
        cv::Mat result;
        ai_orvo::model::draw_objects(image, result, objects, awkwardNames(), colors);
        ASSERT_EQ(result.size(), image.size());
        ASSERT_EQ(result.type(), image.type());
    }
}

}  // namespace
}  // namespace brellix::testing
