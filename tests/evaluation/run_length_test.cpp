#include "masks/run_length.h"

#include "support/coco_mask.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using namespace app;
using Runs = std::vector<std::uint32_t>;

cv::Mat maskOf(int rows, int columns, const std::vector<std::uint8_t>& pixels) {
    return cv::Mat(pixels, true).reshape(1, rows).colRange(0, columns).clone();
}

/// Noise, sides of 1 to `longest` pixels.
cv::Mat randomMask(std::mt19937& random, int longest) {
    std::uniform_int_distribution<int> length(1, longest);
    std::uniform_int_distribution<int> chance(1, 99);
    cv::Mat mask(cv::Size{length(random), length(random)}, CV_8U);
    const int threshold = chance(random);
    for (auto pixel = mask.begin<std::uint8_t>(); pixel != mask.end<std::uint8_t>(); ++pixel) {
        *pixel = chance(random) < threshold ? 255 : 0;
    }
    return mask;
}

void expectRoundTrip(const cv::Mat& mask) {
    const cv::Mat decoded = decodeCocoMask(cocoRunLengths(mask), mask.size());
    EXPECT_EQ(cv::norm(decoded, mask, cv::NORM_INF), 0.0) << mask.size();
}

void expectRefused(const std::string& text, cv::Size size, const std::string& words) {
    try {
        static_cast<void>(decompressed(text, size));
        ADD_FAILURE() << "\"" << text << "\" was read";
    } catch (const std::invalid_argument& error) {
        EXPECT_NE(std::string(error.what()).find(words), std::string::npos) << error.what();
    }
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
    for (int round = 0; round < 200; ++round) {
        expectRoundTrip(randomMask(random, 90));
    }
}

TEST(CocoRunLengths, PartOfALargerMatrixIsReadAsItStands) {
    cv::Mat whole = cv::Mat::zeros(8, 8, CV_8U);
    whole(cv::Rect(3, 2, 2, 3)) = 255;
    EXPECT_EQ(cocoRunLengths(whole(cv::Rect(3, 1, 2, 4))), "1310");
}

TEST(RunLengthsText, IsReadBackWithNegativeDifferences) {
    // 1 - 40 and 7 - 1 stand at the end.
    EXPECT_EQ(decompressed("1X11iN6", {50, 1}).runs, (Runs{1, 40, 1, 1, 7}));
}

TEST(RunLengthsText, RandomMasksComeBack) {
    std::mt19937 random(7);
    for (int round = 0; round < 100; ++round) {
        const cv::Mat mask = randomMask(random, 120);
        const RunLengths runs = runLengthsOf(mask);
        const RunLengths back = decompressed(compressed(runs), mask.size());
        EXPECT_EQ(back.runs, runs.runs);
        EXPECT_EQ(back.size, mask.size());
    }
}

TEST(RunLengthsText, IsRefusedWhereItDoesNotFillItsMask) {
    expectRefused("3", {2, 2}, "cover 3 of 4");
    expectRefused("", {2, 2}, "cover 0 of 4");
    expectRefused("5", {2, 2}, "5 pixels long");
    expectRefused("131", {2, 2}, "where 0 are left");
}

TEST(RunLengthsText, IsRefusedWhereItIsNoSuchText) {
    expectRefused("1 1", {2, 2}, "character 2");
    expectRefused("1q", {2, 2}, "character 2");
    expectRefused("1P", {2, 2}, "in the middle of a number");
    expectRefused("\xC3\xA4", {2, 2}, "character 1");
}

TEST(RunLengthsText, NumbersThatWouldOverflowAreRefused) {
    expectRefused("oooooooo1", {2, 2}, "too long");
    expectRefused("ooooooo", {2, 2}, "too long");
    expectRefused("N", {2, 2}, "-2 pixels long");
    // Differences that add up: each of them fits, their sum does not.
    expectRefused("1111>>>>>", {3, 3}, "pixels long");
}

TEST(RunLengthsBuilder, JoinsPiecesThatTouch) {
    RunLengthsBuilder builder({1, 10});
    builder.add(2, 4);
    builder.add(4, 5);
    builder.add(7, 7);
    builder.add(8, 10);
    EXPECT_EQ(builder.finish().runs, (Runs{2, 3, 3, 2}));
}

TEST(RunLengthsBuilder, WithoutPiecesTheMaskIsEmpty) {
    EXPECT_EQ(RunLengthsBuilder({4, 5}).finish().runs, Runs{20});
}

}  // namespace
}  // namespace brellix::testing
