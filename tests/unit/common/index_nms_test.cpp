#include "brellix/nms.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using ai_orvo::model::CalculateOverlap;
using ai_orvo::model::nms;

using Ints = std::vector<int>;
using Boxes = std::vector<cv::Rect_<int>>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr int kIntMax = std::numeric_limits<int>::max();
constexpr int kIntMin = std::numeric_limits<int>::min();

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
