#include "evaluation/overlap.h"

#include <gtest/gtest.h>

namespace brellix::testing {
namespace {

using namespace app;

TEST(BoxOverlap, IsIntersectionOverUnion) {
    EXPECT_EQ(boxOverlap({0, 0, 10, 10}, {0, 0, 10, 10}), 1.0);
    EXPECT_EQ(boxOverlap({0, 0, 10, 10}, {0, 5, 10, 10}), 50.0 / 150.0);
    EXPECT_EQ(boxOverlap({0, 0, 10, 10}, {0, 0, 10, 6}), 60.0 / 100.0);
}

TEST(BoxOverlap, BoxesThatOnlyTouchDoNotOverlap) {
    EXPECT_EQ(boxOverlap({0, 0, 10, 10}, {10, 0, 10, 10}), 0.0);
    EXPECT_EQ(boxOverlap({0, 0, 10, 10}, {0, 10, 10, 10}), 0.0);
}

TEST(BoxOverlap, OfABoxWithoutAreaIsZero) {
    EXPECT_EQ(boxOverlap({5, 5, 0, 0}, {0, 0, 10, 10}), 0.0);
    EXPECT_EQ(boxOverlap({5, 5, 0, 0}, {5, 5, 0, 0}), 0.0);
}

TEST(BoxOverlap, WithACrowdIsTheShareOfTheDetection) {
    EXPECT_EQ(boxOverlap({0, 0, 10, 10}, {0, 0, 100, 5}, true), 0.5);
    EXPECT_EQ(boxOverlap({0, 0, 10, 10}, {0, 0, 100, 100}, true), 1.0);
}

TEST(MaskOverlap, CountsPixels) {
    cv::Mat a = cv::Mat::zeros(10, 10, CV_8U);
    cv::Mat b = a.clone();
    a(cv::Rect(0, 0, 4, 4)) = 1;
    b(cv::Rect(2, 0, 4, 4)) = 1;
    const MeasuredMask inA = measured(runLengthsOf(a));
    const MeasuredMask inB = measured(runLengthsOf(b));
    EXPECT_EQ(maskOverlap(inA, inB), 8.0 / 24.0);
    EXPECT_EQ(maskOverlap(inA, inB, true), 0.5);
    EXPECT_EQ(maskOverlap(measured(runLengthsOf(cv::Mat::zeros(10, 10, CV_8U))), inB), 0.0);
}

}  // namespace
}  // namespace brellix::testing
