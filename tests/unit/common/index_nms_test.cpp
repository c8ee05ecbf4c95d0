#include "brellix/nms.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>

namespace {

using ai_orvo::model::CalculateOverlap;
using ai_orvo::model::nms;
using ai_orvo::model::quickSortIndiceInverse;

using Floats = std::vector<float>;
using Ints = std::vector<int>;
using Boxes = std::vector<cv::Rect_<int>>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr int kIntMax = std::numeric_limits<int>::max();
constexpr int kIntMin = std::numeric_limits<int>::min();

Ints countedUp(std::size_t count) {
    Ints indices(count);
    std::iota(indices.begin(), indices.end(), 0);
    return indices;
}

/// Indices after sorting all of `scores`, which end sorted too.
Ints sorted(Floats& scores) {
    Ints indices = countedUp(scores.size());
    quickSortIndiceInverse(scores, 0, static_cast<int>(scores.size()) - 1, indices);
    return indices;
}

/// Runs on a thread whose stack is as small as boards give to workers.
void onSmallStack(std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 512 * 1024), 0);
    pthread_t thread;
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
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
    Ints indices = countedUp(4);
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
    Ints indices = countedUp(5);
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
        EXPECT_EQ(indices, countedUp(input.size()));
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
        onSmallStack([&] {
            EXPECT_EQ(sorted(falling), countedUp(count));
            equalOrder = sorted(equal);
            risingOrder = alsoRising ? sorted(rising) : Ints();
        });
        EXPECT_EQ(equalOrder, countedUp(count));
        if (alsoRising) {
            EXPECT_EQ(rising, falling);
            EXPECT_EQ(risingOrder.front(), static_cast<int>(count) - 1);
        }
    }
}

TEST(CalculateOverlap, IdenticalBoxesOverlapCompletely) {
    EXPECT_EQ(CalculateOverlap(0, 0, 9, 9, 0, 0, 9, 9), 1.0F);
}

TEST(CalculateOverlap, TouchingBoxesShareAPixelColumn) {
    // 1 x 11 shared, 11 x 11 each.
    EXPECT_EQ(CalculateOverlap(0, 0, 10, 10, 10, 0, 20, 10), 11.0F / 231.0F);
    EXPECT_EQ(CalculateOverlap(0, 0, 10, 10, 11, 0, 20, 10), 0.0F);
}

TEST(CalculateOverlap, DegenerateCornersDoNotDivide) {
    EXPECT_EQ(CalculateOverlap(5, 5, 4, 4, 5, 5, 4, 4), 0.0F);
    EXPECT_EQ(CalculateOverlap(5, 5, 4, 9, 7, 7, 6, 9), 0.0F);
}

TEST(CalculateOverlap, NanCornersAreIgnoredByTheIntersection) {
    // The differences of the areas are NaN, and so is the result: nothing compares greater than it.
    EXPECT_TRUE(std::isnan(CalculateOverlap(kNaN, 0, 9, 9, 0, 0, 9, 9)));
}

TEST(IndexNms, SuppressesLaterOverlapsOfTheClassOnly) {
    Boxes boxes = {{0, 0, 10, 10}, {0, 0, 10, 10}, {0, 0, 10, 10}, {50, 50, 10, 10}};
    const Ints classes = {1, 1, 2, 1};
    Ints order = {0, 1, 2, 3};
    nms(4, boxes, classes, order, 1, 0.5F);
    EXPECT_EQ(order, (Ints{0, -1, 2, 3}));
    nms(4, boxes, classes, order, 2, 0.5F);
    EXPECT_EQ(order, (Ints{0, -1, 2, 3}));
}

TEST(IndexNms, AnOverlapEqualToTheThresholdIsKept) {
    Boxes boxes = {{0, 0, 10, 10}, {0, 0, 10, 10}};
    Ints order = {1, 0};
    nms(2, boxes, {0, 0}, order, 0, 1.0F);
    EXPECT_EQ(order, (Ints{1, 0}));
    nms(2, boxes, {0, 0}, order, 0, 0.99F);
    EXPECT_EQ(order, (Ints{1, -1}));
}

TEST(IndexNms, BoxesCountAPixelMoreThanTheirRectangles) {
    // Rectangles that only touch share one column: 1 x 11 of 2 * 121 - 11.
    Boxes boxes = {{0, 0, 10, 10}, {10, 0, 10, 10}};
    Ints order = {0, 1};
    nms(2, boxes, {0, 0}, order, 0, 0.05F);
    EXPECT_EQ(order, (Ints{0, 1}));
    nms(2, boxes, {0, 0}, order, 0, 0.04F);
    EXPECT_EQ(order, (Ints{0, -1}));
}

TEST(IndexNms, ASuppressedPositionSuppressesNothing) {
    Boxes boxes = {{0, 0, 10, 10}, {4, 0, 10, 10}, {8, 0, 10, 10}};
    Ints order = {0, 1, 2};
    nms(3, boxes, {0, 0, 0}, order, 0, 0.4F);
    EXPECT_EQ(order, (Ints{0, -1, 2}));
}

TEST(IndexNms, NegativeThresholdSuppressesDisjointBoxes) {
    Boxes boxes = {{0, 0, 10, 10}, {500, 0, 10, 10}};
    Ints order = {0, 1};
    nms(2, boxes, {0, 0}, order, 0, -0.1F);
    EXPECT_EQ(order, (Ints{0, -1}));
}

TEST(IndexNms, NothingHappensWithoutValidCandidates) {
    Boxes boxes = {{0, 0, 10, 10}, {0, 0, 10, 10}};
    Ints order = {0, 1};
    nms(0, boxes, {0, 0}, order, 0, 0.1F);
    nms(-3, boxes, {0, 0}, order, 0, 0.1F);
    EXPECT_EQ(order, (Ints{0, 1}));
}

TEST(IndexNms, EntriesThatNameNoCandidateArePassedOver) {
    Boxes boxes = {{0, 0, 10, 10}, {0, 0, 10, 10}};
    Ints order = {-1, 99, -7, 0, 1};
    nms(9, boxes, {0, 0}, order, 0, 0.1F);
    EXPECT_EQ(order, (Ints{-1, 99, -7, 0, -1}));
}

TEST(IndexNms, EdgesWrapAroundIn32Bits) {
    Boxes boxes = {{kIntMax - 4, 0, 9, 9}, {kIntMax - 4, 0, 9, 9}};
    Ints order = {0, 1};
    nms(2, boxes, {0, 0}, order, 0, 0.0F);
    EXPECT_EQ(order, (Ints{0, 1}));
}

TEST(IndexNms, ExtremeBoxesDoNotOverflow) {
    Boxes boxes = {
        {kIntMax, kIntMax, kIntMax, kIntMax}, {kIntMin, kIntMin, kIntMin, kIntMin}, {0, 0, kIntMax, 1}};
    Ints order = {0, 1, 2};
    nms(3, boxes, {0, 0, 0}, order, 0, 0.5F);
    EXPECT_EQ(order, (Ints{0, 1, 2}));
}

}  // namespace
