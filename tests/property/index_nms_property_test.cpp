#include "reference/index_nms.h"
#include "support/comparison.h"
#include "support/indices.h"
#include "support/random.h"
#include "support/small_stack.h"

#include "brellix/nms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <numeric>
#include <vector>

namespace brellix::testing {
namespace {

namespace model = ai_orvo::model;

bool sameBytes(const std::vector<float>& a, const std::vector<float>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0);
}

/// Sorts a copy with both and compares.
void compareSorting(const std::vector<float>& scores, int left, int right) {
    std::vector<float> actual = scores;
    std::vector<float> expected = scores;
    std::vector<int> actualIndices = countingFrom0(scores.size());
    std::vector<int> expectedIndices = actualIndices;
    const int actualPivot = model::quickSortIndiceInverse(actual, left, right, actualIndices);
    const int expectedPivot = reference::sortDescending(expected, left, right, expectedIndices);
    ASSERT_EQ(actualPivot, expectedPivot);
    ASSERT_TRUE(sameBytes(actual, expected));
    ASSERT_EQ(actualIndices, expectedIndices);
}

TEST(IndexSortProperty, TiesEndWhereThePartitionPutsThem) {
    Random random(71);
    for (int i = 0; i < 500; ++i) {
        std::vector<float> scores(static_cast<std::size_t>(random.integer(1, 120)));
        const int levels = random.oneOf({1, 2, 5, 1000000});
        for (float& score : scores) {
            score = static_cast<float>(random.integer(0, levels)) / static_cast<float>(levels);
        }
        const int last = static_cast<int>(scores.size()) - 1;
        compareSorting(scores, 0, last);
        const int left = random.integer(0, last);
        compareSorting(scores, left, random.integer(0, last));
        ASSERT_FALSE(::testing::Test::HasFailure()) << "case " << i;
    }
}

TEST(IndexSortProperty, RisingScoresEndWhereThePartitionPutsThem) {
    // Each partition would take off one score only: distinct ones are turned around in place of that.
    Random random(75);
    for (const int distinct : {1, 2, 40, 2000}) {
        std::vector<float> scores(2000);
        for (std::size_t i = 0; i < scores.size(); ++i) {
            scores[i] = static_cast<float>(static_cast<int>(i) * distinct / 2000);
        }
        compareSorting(scores, 0, 1999);
        for (int i = 0; i < 20; ++i) {
            std::swap(scores[static_cast<std::size_t>(random.integer(0, 1999))],
                      scores[static_cast<std::size_t>(random.integer(0, 1999))]);
        }
        compareSorting(scores, 0, 1999);
        compareSorting(scores, 3, 1500);
    }
}

TEST(IndexSortProperty, ScoresThatAreNoNumbersEndTheLoop) {
    Random random(72);
    int missing = 0;
    for (int i = 0; i < 500; ++i) {
        std::vector<float> scores(static_cast<std::size_t>(random.integer(1, 40)));
        for (float& score : scores) {
            score = random.chance(0.3) ? random.hostile() : random.real(0.0F, 1.0F);
            missing += std::isnan(score) ? 1 : 0;
        }
        compareSorting(scores, 0, static_cast<int>(scores.size()) - 1);
        ASSERT_FALSE(::testing::Test::HasFailure()) << "case " << i;
    }
    EXPECT_GT(missing, 100);
}

TEST(IndexSortProperty, OrderedAndEqualScoresFitIntoASmallStack) {
    runOnSmallStack([] {
        std::vector<float> scores(8400);
        std::iota(scores.begin(), scores.end(), 0.0F);
        compareSorting(scores, 0, 8399);
        std::reverse(scores.begin(), scores.end());
        compareSorting(scores, 0, 8399);
        std::fill(scores.begin(), scores.end(), 0.5F);
        compareSorting(scores, 0, 8399);
    });
}

TEST(OverlapProperty, CornersGiveTheBitsOfTheReference) {
    Random random(73);
    int partial = 0;
    for (int i = 0; i < 20000; ++i) {
        float c[8];
        for (float& value : c) {
            value = random.chance(0.02) ? random.hostile() : random.real(-20.0F, 20.0F);
        }
        if (random.chance(0.7)) {
            std::copy(c, c + 4, c + 4);
            c[random.integer(4, 7)] += random.real(-5.0F, 5.0F);
        }
        const float expected = reference::inclusiveOverlap(c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]);
        ASSERT_PRED2(sameFloat, model::CalculateOverlap(c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]),
                     expected);
        partial += expected > 0.0F && expected < 1.0F ? 1 : 0;
    }
    EXPECT_GT(partial, 2000);
}

TEST(IndexNmsProperty, RandomCandidatesGiveTheOrderOfTheReference) {
    Random random(74);
    std::ptrdiff_t suppressed = 0;
    for (int i = 0; i < 400; ++i) {
        const int count = random.integer(0, 80);
        std::vector<cv::Rect> boxes;
        std::vector<int> classIds;
        for (int k = 0; k < count; ++k) {
            const int reach = random.oneOf({20, 20, 20, 100000000});
            boxes.push_back({random.integer(0, reach), random.integer(0, reach), random.integer(-2, 30),
                             random.integer(0, 30)});
            classIds.push_back(random.integer(-1, 2));
        }
        std::vector<int> order = countingFrom0(boxes.size());
        for (int& candidate : order) {
            candidate = random.chance(0.1) ? -1 : random.integer(0, count - 1);
        }
        std::vector<int> expected = order;
        const float threshold =
            random.oneOf({-1.0F, 0.0F, 0.2F, 0.45F, 0.65F, 1.0F, std::numeric_limits<float>::quiet_NaN()});
        const int validCount = random.oneOf({count, count, count / 2, 0, -1});
        const int classId = random.integer(-1, 2);
        const auto before = std::count(order.begin(), order.end(), -1);
        model::nms(validCount, boxes, classIds, order, classId, threshold);
        reference::suppressByIndex(validCount, boxes, classIds, expected, classId, threshold);
        ASSERT_EQ(order, expected) << "case " << i;
        suppressed += std::count(order.begin(), order.end(), -1) - before;
    }
    EXPECT_GT(suppressed, 500);
}

}  // namespace
}  // namespace brellix::testing
