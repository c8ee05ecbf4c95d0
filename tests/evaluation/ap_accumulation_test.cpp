#include "evaluation/ap_accumulation.h"

#include <gtest/gtest.h>

#include <numeric>

namespace brellix::testing {
namespace {

using namespace app;

constexpr Outcome kFalse = Outcome::kFalse;
constexpr Outcome kTrue = Outcome::kTrue;
constexpr Outcome kIgnored = Outcome::kIgnored;

/// The sum of 101 numbers, each with an error of a few units in the last place.
constexpr double kRounding = 1e-13;

Matches matches(std::size_t positives, const std::vector<double>& scores,
                const std::vector<Outcome>& outcomes) {
    Matches result;
    result.scores = scores;
    result.outcomes.fill(outcomes);
    result.positives = positives;
    return result;
}

double ap(const std::vector<Matches>& pictures) {
    const PrecisionRecall curves = accumulate(pictures, kMostDetections).value();
    const auto& precision = curves.precision[0];
    return std::accumulate(precision.begin(), precision.end(), 0.0) / kRecallCount;
}

TEST(ApAccumulation, FindingEverythingIsOne) {
    EXPECT_NEAR(ap({matches(2, {0.9, 0.8}, {kTrue, kTrue})}), 1.0, kRounding);
}

TEST(ApAccumulation, WithoutAnythingToFindThereIsNoFigure) {
    EXPECT_FALSE(accumulate({matches(0, {0.9}, {kFalse})}, kMostDetections).has_value());
    EXPECT_FALSE(accumulate({}, kMostDetections).has_value());
}

TEST(ApAccumulation, FindingNothingIsZero) {
    const auto result = accumulate({matches(1, {}, {})}, kMostDetections);
    EXPECT_EQ(result->recall[0], 0.0);
    EXPECT_EQ(ap({matches(1, {}, {})}), 0.0);
    EXPECT_EQ(ap({matches(1, {0.9}, {kFalse})}), 0.0);
}

TEST(ApAccumulation, HalfTheRecallHolds51PointsOf101) {
    EXPECT_NEAR(ap({matches(2, {0.9}, {kTrue})}), 51.0 / 101.0, kRounding);
}

TEST(ApAccumulation, PrecisionIsTheBestAtThatRecallOrMore) {
    // Precisions 1/1, 1/2, 2/3: up to half the recall 1, behind it 2/3.
    EXPECT_NEAR(ap({matches(2, {0.9, 0.8, 0.7}, {kTrue, kFalse, kTrue})}), (51.0 + 50.0 * 2.0 / 3.0) / 101.0,
                kRounding);
    // Precisions 0, 1/2, 2/3: 2/3 everywhere.
    EXPECT_NEAR(ap({matches(2, {0.9, 0.8, 0.7}, {kFalse, kTrue, kTrue})}), 2.0 / 3.0, kRounding);
}

TEST(ApAccumulation, IgnoredDetectionsAreNeitherRightNorWrong) {
    EXPECT_NEAR(ap({matches(1, {0.9, 0.8}, {kIgnored, kTrue})}), 1.0, kRounding);
}

TEST(ApAccumulation, DetectionsOfAllPicturesAreSortedTogether) {
    // 0.9 wrong, 0.8 right.
    EXPECT_NEAR(ap({matches(1, {0.8}, {kTrue}), matches(0, {0.9}, {kFalse})}), 0.5, kRounding);
}

TEST(ApAccumulation, EqualScoresKeepTheOrderOfThePictures) {
    EXPECT_NEAR(ap({matches(1, {0.8}, {kTrue}), matches(0, {0.8}, {kFalse})}), 1.0, kRounding);
    EXPECT_NEAR(ap({matches(0, {0.8}, {kFalse}), matches(1, {0.8}, {kTrue})}), 0.5, kRounding);
}

TEST(ApAccumulation, OnlyTheSurestDetectionsOfEachPictureCount) {
    const std::vector<Matches> pictures = {matches(1, {0.9, 0.8}, {kFalse, kTrue}),
                                           matches(1, {0.7}, {kTrue})};
    EXPECT_EQ(accumulate(pictures, 1)->recall[0], 0.5);
    EXPECT_EQ(accumulate(pictures, 2)->recall[0], 1.0);
}

}  // namespace
}  // namespace brellix::testing
