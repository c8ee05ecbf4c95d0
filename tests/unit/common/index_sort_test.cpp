#include "brellix/nms.h"
#include "support/indices.h"
#include "support/small_stack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

namespace {

using ai_orvo::model::quickSortIndiceInverse;
using brellix::testing::countingFrom0;
using brellix::testing::runOnSmallStack;

using Floats = std::vector<float>;
using Ints = std::vector<int>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// Indices after sorting all of `scores`, which end sorted too.
Ints sorted(Floats& scores) {
    Ints indices = countingFrom0(scores.size());
    quickSortIndiceInverse(scores, 0, static_cast<int>(scores.size()) - 1, indices);
    return indices;
}

TEST(QuickSortIndiceInverse, SortsFromHighestToLowest) {
    Floats scores = {0.5F, 0.9F, 0.7F};
    EXPECT_EQ(sorted(scores), (Ints{1, 2, 0}));
    EXPECT_EQ(scores, (Floats{0.9F, 0.7F, 0.5F}));
}

TEST(QuickSortIndiceInverse, EqualScoresEndWhereThePartitionPutsThem) {
    Floats scores = {0.5F, 0.9F, 0.5F, 0.9F, 0.7F};
    EXPECT_EQ(sorted(scores), (Ints{3, 1, 4, 2, 0}));
}

TEST(QuickSortIndiceInverse, ReturnsThePlaceOfTheFirstPivot) {
    Floats scores = {0.5F, 0.9F, 0.7F, 0.1F};
    Ints indices = countingFrom0(4);
    EXPECT_EQ(quickSortIndiceInverse(scores, 0, 3, indices), 2);
}

TEST(QuickSortIndiceInverse, ShortRangesAreLeftAlone) {
    Floats scores = {0.1F, 0.2F, 0.3F};
    Ints indices = {7, 8, 9};
    EXPECT_EQ(quickSortIndiceInverse(scores, 1, 1, indices), 1);
    EXPECT_EQ(quickSortIndiceInverse(scores, 2, 1, indices), 2);
    EXPECT_EQ(quickSortIndiceInverse(scores, 0, -1, indices), 0);
    EXPECT_EQ(scores, (Floats{0.1F, 0.2F, 0.3F}));
    EXPECT_EQ(indices, (Ints{7, 8, 9}));
}

TEST(QuickSortIndiceInverse, SortsOnlyTheRange) {
    Floats scores = {0.0F, 0.1F, 0.2F, 0.3F, 0.4F};
    Ints indices = countingFrom0(5);
    quickSortIndiceInverse(scores, 1, 3, indices);
    EXPECT_EQ(scores, (Floats{0.0F, 0.3F, 0.2F, 0.1F, 0.4F}));
    EXPECT_EQ(indices, (Ints{0, 3, 2, 1, 4}));
}

TEST(QuickSortIndiceInverse, RangesOutsideTheVectorsAreLeftAlone) {
    Floats scores = {0.1F, 0.2F, 0.3F};
    Ints indices = {0, 1};
    EXPECT_EQ(quickSortIndiceInverse(scores, 0, 2, indices), 0);
    EXPECT_EQ(quickSortIndiceInverse(scores, -1, 1, indices), -1);
    EXPECT_EQ(scores, (Floats{0.1F, 0.2F, 0.3F}));
}

TEST(QuickSortIndiceInverse, NanScoresNeitherHangNorGetLost) {
    for (const Floats& input :
         {Floats{kNaN, 0.2F, 0.5F}, Floats{0.2F, kNaN, 0.5F, kNaN, 0.1F}, Floats{kNaN, kNaN}}) {
        Floats scores = input;
        Ints indices = sorted(scores);
        std::sort(indices.begin(), indices.end());
        EXPECT_EQ(indices, countingFrom0(input.size()));
    }
}

TEST(QuickSortIndiceInverse, OrderedAndEqualScoresFitASmallStack) {
    for (const std::size_t count : {std::size_t{8400}, std::size_t{100000}}) {
        Floats falling(count);
        Floats equal(count, 0.5F);
        for (std::size_t i = 0; i < count; ++i) {
            falling[i] = static_cast<float>(count - i);
        }
        Floats rising(falling.rbegin(), falling.rend());
        // The quadratic case: rising scores are sorted for the smaller count only.
        const bool alsoRising = count < 10000;
        Ints risingOrder;
        Ints equalOrder;
        runOnSmallStack([&] {
            EXPECT_EQ(sorted(falling), countingFrom0(count));
            equalOrder = sorted(equal);
            risingOrder = alsoRising ? sorted(rising) : Ints();
        });
        EXPECT_EQ(equalOrder, countingFrom0(count));
        if (alsoRising) {
            EXPECT_EQ(rising, falling);
            EXPECT_EQ(risingOrder.front(), static_cast<int>(count) - 1);
        }
    }
}

}  // namespace
