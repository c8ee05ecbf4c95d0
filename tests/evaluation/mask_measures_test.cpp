#include "evaluation/mask_measures.h"

#include <gtest/gtest.h>

#include <random>

namespace brellix::testing {
namespace {

using namespace app;

cv::Mat box(cv::Size size, const cv::Rect& inside) {
    cv::Mat mask = cv::Mat::zeros(size, CV_8U);
    mask(inside) = 255;
    return mask;
}

cv::Mat randomMask(cv::Size size, std::mt19937& random) {
    std::uniform_int_distribution<int> chance(0, 9);
    cv::Mat mask = cv::Mat::zeros(size, CV_8U);
    for (auto pixel = mask.begin<std::uint8_t>(); pixel != mask.end<std::uint8_t>(); ++pixel) {
        *pixel = chance(random) < 4 ? 255 : 0;
    }
    return mask;
}

MeasuredMask measure(const cv::Mat& mask) {
    return measured(runLengthsOf(mask));
}

TEST(MeasuredMask, HasTheAreaAndTheBoundsOfItsPixels) {
    const MeasuredMask mask = measure(box({20, 10}, {3, 2, 5, 4}));
    EXPECT_EQ(mask.area, 20);
    EXPECT_EQ(mask.bounds, cv::Rect(3, 2, 5, 4));
}

TEST(MeasuredMask, BoundsOfARunOverSeveralColumnsAreFullHeight) {
    EXPECT_EQ(measure(box({20, 10}, {3, 0, 2, 10})).bounds, cv::Rect(3, 0, 2, 10));
}

TEST(MeasuredMask, WithoutPixelsIsEmpty) {
    const MeasuredMask mask = measure(cv::Mat::zeros(4, 4, CV_8U));
    EXPECT_EQ(mask.area, 0);
    EXPECT_TRUE(mask.bounds.empty());
    EXPECT_EQ(intersectionArea(mask, mask), 0);
}

TEST(MaskIntersection, CountsCommonPixels) {
    const MeasuredMask a = measure(box({20, 10}, {0, 0, 6, 6}));
    const MeasuredMask b = measure(box({20, 10}, {4, 3, 6, 6}));
    EXPECT_EQ(intersectionArea(a, b), 6);
}

TEST(MaskIntersection, MasksOfDifferentPicturesHaveNothingInCommon) {
    EXPECT_EQ(intersectionArea(measure(box({20, 10}, {0, 0, 6, 6})), measure(box({10, 20}, {0, 0, 6, 6}))),
              0);
}

TEST(MaskMeasures, AgreeWithPixelsOnRandomMasks) {
    std::mt19937 random(3);
    for (int round = 0; round < 100; ++round) {
        const cv::Size size(1 + round % 17, 1 + round % 13);
        const cv::Mat a = randomMask(size, random);
        const cv::Mat b = randomMask(size, random);
        EXPECT_EQ(intersectionArea(measure(a), measure(b)), cv::countNonZero(a & b));
        const RunLengths both = unionOf({runLengthsOf(a), runLengthsOf(b)}, size);
        EXPECT_EQ(both.runs, runLengthsOf(a | b).runs);
        EXPECT_EQ(measure(a).area, cv::countNonZero(a));
    }
}

}  // namespace
}  // namespace brellix::testing
