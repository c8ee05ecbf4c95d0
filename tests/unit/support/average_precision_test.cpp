// The ruler that the accuracy tests measure with is itself held against hand-computed cases.

#include "support/average_precision.h"

#include <gtest/gtest.h>

namespace {

using brellix::testing::averagePrecision;
using brellix::testing::ScoredBox;

// 101 summands, each of which may be rounded by half an ulp of the sum.
constexpr double kSummation = 101 * 1e-14;

const cv::Rect2d kLeft(0, 0, 10, 10);
const cv::Rect2d kRight(100, 0, 10, 10);

TEST(AveragePrecision, PerfectDetectionsScoreOne) {
    EXPECT_DOUBLE_EQ(
        averagePrecision({{0, 1, kLeft}, {0, 1, kRight}}, {{0, 1, kRight, 0.4}, {0, 1, kLeft, 0.9}}, 0.5),
        1.0);
}

TEST(AveragePrecision, NothingFoundScoresZero) {
    EXPECT_EQ(averagePrecision({{0, 1, kLeft}}, {}, 0.5), 0.0);
}

TEST(AveragePrecision, AMissedHalfKeepsItsRecallPoints) {
    // Recall ends at 0.5: the 51 points 0.00 to 0.50 have precision 1.
    EXPECT_DOUBLE_EQ(averagePrecision({{0, 1, kLeft}, {0, 1, kRight}}, {{0, 1, kLeft, 0.9}}, 0.5),
                     51.0 / 101.0);
}

TEST(AveragePrecision, AFalseAlarmAboveTheHitHalvesThePrecision) {
    EXPECT_DOUBLE_EQ(averagePrecision({{0, 1, kLeft}}, {{0, 1, kRight, 0.9}, {0, 1, kLeft, 0.8}}, 0.5), 0.5);
}

TEST(AveragePrecision, ASecondDetectionOfOneTruthIsAFalseAlarm) {
    const std::vector<ScoredBox> truth = {{0, 1, kLeft}, {0, 1, kRight}};
    // Hit, false alarm, hit: precision 1 up to recall 0.5, then 2/3.
    const double found =
        averagePrecision(truth, {{0, 1, kLeft, 0.9}, {0, 1, kLeft, 0.8}, {0, 1, kRight, 0.7}}, 0.5);
    EXPECT_NEAR(found, (51.0 + 50.0 * 2.0 / 3.0) / 101.0, kSummation);
}

TEST(AveragePrecision, ImagesAndLabelsAreKeptApart) {
    EXPECT_EQ(averagePrecision({{0, 1, kLeft}}, {{1, 1, kLeft, 0.9}}, 0.5), 0.0);
    EXPECT_DOUBLE_EQ(averagePrecision({{0, 1, kLeft}, {0, 2, kLeft}}, {{0, 2, kLeft, 0.9}}, 0.5), 0.5);
}

TEST(AveragePrecision, OverlapAtTheThresholdCounts) {
    // Intersection 50, union 100.
    const std::vector<ScoredBox> half = {{0, 1, {0, 0, 10, 5}, 0.9}};
    EXPECT_DOUBLE_EQ(averagePrecision({{0, 1, kLeft}}, half, 0.5), 1.0);
    EXPECT_EQ(averagePrecision({{0, 1, kLeft}}, half, 0.51), 0.0);
}

}  // namespace
