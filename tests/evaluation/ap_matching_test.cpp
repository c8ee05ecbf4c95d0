#include "evaluation/ap_matching.h"

#include <gtest/gtest.h>

namespace brellix::testing {
namespace {

using namespace app;
using Outcomes = std::vector<Outcome>;

constexpr Outcome kFalse = Outcome::kFalse;
constexpr Outcome kTrue = Outcome::kTrue;
constexpr Outcome kIgnored = Outcome::kIgnored;
constexpr double kMiddle = 2000.0;

/// Detections of falling score, all of medium size, with the overlaps given row by row.
Candidates candidates(const std::vector<CandidateTruth>& truths,
                      const std::vector<std::vector<double>>& overlaps) {
    Candidates result{truths, {}, overlaps};
    for (std::size_t i = 0; i < overlaps.size(); ++i) {
        result.detections.push_back({kMiddle, 1.0 - 0.1 * static_cast<double>(i)});
    }
    return result;
}

Outcomes at50(const Candidates& input, const AreaRange& areas = kAllAreas) {
    return matchDetections(input, areas).outcomes[0];
}

const CandidateTruth kObject{kMiddle, false};
const CandidateTruth kCrowd{kMiddle, true};
const CandidateTruth kTiny{10.0, false};

TEST(ApMatching, TakesTheTruthThatIsOverlappedMost) {
    // The first takes the second truth, which leaves the first one for the other.
    EXPECT_EQ(at50(candidates({kObject, kObject}, {{0.6, 0.9}, {0.6, 0.9}})), (Outcomes{kTrue, kTrue}));
}

TEST(ApMatching, ATruthIsTakenOnce) {
    EXPECT_EQ(at50(candidates({kObject}, {{0.6}, {0.9}})), (Outcomes{kTrue, kFalse}));
}

TEST(ApMatching, OfEqualOverlapsTheLastTruthIsTaken) {
    // Had the first been taken, the second detection would find nothing.
    EXPECT_EQ(at50(candidates({kObject, kObject}, {{0.7, 0.7}, {0.7, 0.0}})), (Outcomes{kTrue, kTrue}));
}

TEST(ApMatching, AnOverlapOfExactlyTheThresholdCounts) {
    EXPECT_EQ(at50(candidates({kObject}, {{0.5}})), Outcomes{kTrue});
    EXPECT_EQ(at50(candidates({kObject}, {{0.4999999}})), Outcomes{kFalse});
    const Matches matches = matchDetections(candidates({kObject}, {{0.75}}), kAllAreas);
    EXPECT_EQ(matches.outcomes[5], Outcomes{kTrue});
    EXPECT_EQ(matches.outcomes[6], Outcomes{kFalse});
}

TEST(ApMatching, ACrowdIsTakenByManyAndNotToBeFound) {
    const Matches matches = matchDetections(candidates({kCrowd}, {{0.9}, {0.8}, {0.1}}), kAllAreas);
    EXPECT_EQ(matches.outcomes[0], (Outcomes{kIgnored, kIgnored, kFalse}));
    EXPECT_EQ(matches.positives, 0U);
}

TEST(ApMatching, AnObjectIsPreferredToACrowdThatIsOverlappedMore) {
    EXPECT_EQ(at50(candidates({kCrowd, kObject}, {{0.9, 0.5}})), Outcomes{kTrue});
}

TEST(ApMatching, AnObjectOfAnotherSizeIsTakenOnceAndIgnored) {
    const Candidates input = candidates({kTiny}, {{0.9}, {0.9}});
    EXPECT_EQ(at50(input, kMedium), (Outcomes{kIgnored, kFalse}));
    EXPECT_EQ(matchDetections(input, kMedium).positives, 0U);
    EXPECT_EQ(at50(input, kAllAreas), (Outcomes{kTrue, kFalse}));
}

TEST(ApMatching, ADetectionOfAnotherSizeThatFindsNothingIsIgnored) {
    EXPECT_EQ(at50(candidates({kTiny}, {{0.1}}), kSmall), Outcomes{kIgnored});
    EXPECT_EQ(at50(candidates({kTiny}, {{0.9}}), kSmall), Outcomes{kTrue});
}

TEST(AreaRanges, BothEndsBelongToThem) {
    EXPECT_TRUE(kSmall.holds(1024.0) && kMedium.holds(1024.0));
    EXPECT_TRUE(kMedium.holds(9216.0) && kLarge.holds(9216.0));
    EXPECT_FALSE(kSmall.holds(1024.5) || kMedium.holds(9216.5));
}

TEST(OverlapThresholds, HaveTheBitsOfEvenlySpacedNumbers) {
    EXPECT_EQ(overlapThresholds()[2], 0.6);
    EXPECT_EQ(overlapThresholds()[8], 0.8999999999999999);
    EXPECT_EQ(overlapThresholds()[9], 0.95);
}

}  // namespace
}  // namespace brellix::testing
