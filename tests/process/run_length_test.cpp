#include "masks/run_length.h"

#include "coco_mask.h"

#include <gtest/gtest.h>

#include <random>

namespace brellix::testing {
namespace {

using app::cocoRunLengths;

cv::Mat maskOf(int rows, int columns, const std::vector<std::uint8_t>& pixels) {
    return cv::Mat(pixels, true).reshape(1, rows).colRange(0, columns).clone();
}

void expectRoundTrip(const cv::Mat& mask) {
    const cv::Mat decoded = decodeCocoMask(cocoRunLengths(mask), mask.size());
    EXPECT_EQ(cv::norm(decoded, mask, cv::NORM_INF), 0.0) << mask.size();
}

TEST(CocoRunLengths, BeginOutsideTheObject) {
    EXPECT_EQ(cocoRunLengths(maskOf(1, 1, {0})), "1");
    EXPECT_EQ(cocoRunLengths(maskOf(1, 1, {255})), "01");
    EXPECT_EQ(cocoRunLengths(maskOf(2, 2, {255, 255, 255, 255})), "04");
}

TEST(CocoRunLengths, GoDownTheColumns) {
    EXPECT_EQ(cocoRunLengths(maskOf(2, 3, {0, 255, 0, 0, 255, 0})), "222");
    EXPECT_EQ(cocoRunLengths(maskOf(2, 2, {0, 0, 255, 0})), "112");
}

TEST(CocoRunLengths, EveryValueButZeroIsInside) {
    EXPECT_EQ(cocoRunLengths(maskOf(1, 4, {0, 1, 128, 0})), "121");
}

TEST(CocoRunLengths, AreDifferencesFromTheFourthRunOn) {
    // Runs 1 2 1 1 2 3; the last three are 1 - 2, 2 - 1 and 3 - 1.
    EXPECT_EQ(cocoRunLengths(maskOf(1, 10, {0, 1, 1, 0, 1, 0, 0, 1, 1, 1})), "121O12");
}

TEST(CocoRunLengths, LargeNumbersTakeSeveralCharactersLowestBitsFirst) {
    // 100 = 3 * 32 + 4
    EXPECT_EQ(cocoRunLengths(cv::Mat::zeros(10, 10, CV_8U)), "T3");
    // 16 alone would read as negative.
    EXPECT_EQ(cocoRunLengths(cv::Mat::zeros(4, 4, CV_8U)), "`0");
    // 15 is the largest of one character.
    EXPECT_EQ(cocoRunLengths(cv::Mat::zeros(3, 5, CV_8U)), "?");
}

TEST(CocoRunLengths, LargeNegativeDifferencesKeepTheirSign) {
    cv::Mat mask = cv::Mat::zeros(1, 50, CV_8U);
    mask.colRange(1, 41) = 255;
    mask.col(42) = 255;
    // Runs 1 40 1 1 7: 40 = 32 + 8; 1 - 40 = -39 = -2 * 32 + 25.
    EXPECT_EQ(cocoRunLengths(mask), "1X11iN6");
}

TEST(CocoRunLengths, EmptyFullAndSinglePixelMasksComeBack) {
    for (const cv::Size size : {cv::Size(1, 1), cv::Size(1, 300), cv::Size(300, 1), cv::Size(64, 48)}) {
        expectRoundTrip(cv::Mat::zeros(size, CV_8U));
        expectRoundTrip(cv::Mat(size, CV_8U, cv::Scalar(255)));
        cv::Mat pixel = cv::Mat::zeros(size, CV_8U);
        pixel.at<std::uint8_t>(size.height / 2, size.width / 2) = 255;
        expectRoundTrip(pixel);
    }
}

TEST(CocoRunLengths, RandomMasksComeBack) {
    std::mt19937 random(20261121);
    std::uniform_int_distribution<int> length(1, 90);
    std::uniform_int_distribution<int> chance(1, 99);
    for (int round = 0; round < 200; ++round) {
        cv::Mat mask(length(random), length(random), CV_8U);
        const int threshold = chance(random);
        for (auto pixel = mask.begin<std::uint8_t>(); pixel != mask.end<std::uint8_t>(); ++pixel) {
            *pixel = chance(random) < threshold ? 255 : 0;
        }
        expectRoundTrip(mask);
    }
}

TEST(CocoRunLengths, PartOfALargerMatrixIsReadAsItStands) {
    cv::Mat whole = cv::Mat::zeros(8, 8, CV_8U);
    whole(cv::Rect(3, 2, 2, 3)) = 255;
    EXPECT_EQ(cocoRunLengths(whole(cv::Rect(3, 1, 2, 4))), "1310");
}

}  // namespace
}  // namespace brellix::testing
