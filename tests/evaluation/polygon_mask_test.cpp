#include "evaluation/polygon_mask.h"

#include "evaluation/mask_measures.h"

#include <gtest/gtest.h>

namespace brellix::testing {
namespace {

using namespace app;

std::int64_t areaOf(const std::vector<Polygon>& polygons, cv::Size size) {
    return measured(maskOfPolygons(polygons, size)).area;
}

Polygon box(double left, double top, double right, double bottom) {
    return {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
}

TEST(PolygonMask, HoldsThePixelsWhoseCentreIsInside) {
    EXPECT_EQ(areaOf({box(1, 1, 4, 3)}, {10, 10}), 6);
    // The centres 1.5 and 3.5 are inside of 1.4 to 3.6, those at 0.5 and 4.5 are not.
    EXPECT_EQ(areaOf({box(1.4, 1.4, 3.6, 3.6)}, {10, 10}), 9);
    EXPECT_EQ(areaOf({box(1.6, 1.6, 2.4, 2.4)}, {10, 10}), 0);
}

TEST(PolygonMask, NeighboursShareNoPixelAndLeaveNoneOut) {
    const std::int64_t left = areaOf({box(0, 0, 4.5, 10)}, {10, 10});
    const std::int64_t right = areaOf({box(4.5, 0, 10, 10)}, {10, 10});
    EXPECT_EQ(left + right, 100);
}

TEST(PolygonMask, DirectionOfTheCornersDoesNotMatter) {
    const Polygon triangle = {{1, 1}, {9, 2}, {4, 8}};
    const Polygon reversed(triangle.rbegin(), triangle.rend());
    EXPECT_EQ(maskOfPolygons({triangle}, {10, 10}).runs, maskOfPolygons({reversed}, {10, 10}).runs);
}

TEST(PolygonMask, HalfASquareIsATriangle) {
    // Of the diagonal's own 10 pixels all centres lie on the edge; each belongs to one of the halves.
    const std::int64_t below = areaOf({{{0, 0}, {10, 10}, {0, 10}}}, {10, 10});
    const std::int64_t above = areaOf({{{0, 0}, {10, 0}, {10, 10}}}, {10, 10});
    EXPECT_EQ(below + above, 100);
    EXPECT_EQ(std::abs(below - above), 10);
}

TEST(PolygonMask, IsCutOffAtThePicture) {
    EXPECT_EQ(areaOf({box(-5, -5, 3, 3)}, {10, 10}), 9);
    EXPECT_EQ(areaOf({box(-1e300, -1e300, 1e300, 1e300)}, {10, 10}), 100);
    EXPECT_EQ(areaOf({box(20, 20, 30, 30)}, {10, 10}), 0);
}

TEST(PolygonMask, PartsThatOverlapCountOnce) {
    EXPECT_EQ(areaOf({box(0, 0, 4, 4), box(2, 2, 6, 6)}, {10, 10}), 16 + 16 - 4);
}

TEST(PolygonMask, WhatAPolygonSurroundsTwiceIsOutside) {
    // A square, and then in the same direction a smaller one in it.
    const Polygon turns = {{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0},
                           {2, 2}, {8, 2},  {8, 8},   {2, 8},  {2, 2}};
    EXPECT_EQ(areaOf({turns}, {10, 10}), 100 - 36);
}

TEST(PolygonMask, NoPolygonGivesAnEmptyMask) {
    EXPECT_EQ(maskOfPolygons({}, {3, 4}).runs, std::vector<std::uint32_t>{12});
}

}  // namespace
}  // namespace brellix::testing
