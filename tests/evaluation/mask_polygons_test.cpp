#include "masks/mask_polygons.h"

#include "support/coco_mask.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <random>
#include <vector>

namespace brellix::testing {
namespace {

using app::maskPolygons;
using app::Outline;

/// The mask with its holes filled: what cannot be reached from outside without crossing it. An object is
/// connected over corners, the outside is not.
cv::Mat withoutHoles(const cv::Mat& mask) {
    cv::Mat framed;
    cv::copyMakeBorder(mask, framed, 1, 1, 1, 1, cv::BORDER_CONSTANT, cv::Scalar(0));
    cv::Mat outside;
    cv::compare(framed, cv::Scalar(0), outside, cv::CMP_EQ);
    cv::floodFill(outside, cv::Point(0, 0), cv::Scalar(128), nullptr, cv::Scalar(), cv::Scalar(), 4);
    cv::Mat inside;
    cv::compare(outside, cv::Scalar(128), inside, cv::CMP_NE);
    return inside(cv::Rect(1, 1, mask.cols, mask.rows)).clone();
}

void expectComesBack(const cv::Mat& mask) {
    const std::vector<Outline> polygons = maskPolygons(mask);
    for (const Outline& polygon : polygons) {
        EXPECT_GE(polygon.size(), 6U);
        EXPECT_EQ(polygon.size() % 2, 0U);
    }
    EXPECT_EQ(cv::norm(drawPolygons(polygons, mask.size()), withoutHoles(mask), cv::NORM_INF), 0.0)
        << mask.size();
}

TEST(MaskPolygons, RectangleHasItsFourCorners) {
    cv::Mat mask = cv::Mat::zeros(20, 30, CV_8U);
    mask(cv::Rect(3, 4, 10, 5)) = 1;
    EXPECT_EQ(maskPolygons(mask), std::vector<Outline>({{3, 4, 3, 8, 12, 8, 12, 4}}));
}

TEST(MaskPolygons, PixelAndLineHaveThreeCorners) {
    cv::Mat mask = cv::Mat::zeros(4, 6, CV_8U);
    mask.at<std::uint8_t>(1, 2) = 255;
    EXPECT_EQ(maskPolygons(mask), std::vector<Outline>({{2, 1, 2, 1, 2, 1}}));
    mask.at<std::uint8_t>(1, 3) = 255;
    EXPECT_EQ(maskPolygons(mask), std::vector<Outline>({{2, 1, 3, 1, 3, 1}}));
}

TEST(MaskPolygons, EmptyMaskHasNone) {
    EXPECT_TRUE(maskPolygons(cv::Mat::zeros(5, 5, CV_8U)).empty());
    EXPECT_TRUE(maskPolygons(cv::Mat::zeros(1, 1, CV_8U)).empty());
}

TEST(MaskPolygons, EachPartHasOneOutlineAndHolesHaveNone) {
    cv::Mat mask = cv::Mat::zeros(40, 60, CV_8U);
    mask(cv::Rect(0, 0, 20, 20)) = 255;
    mask(cv::Rect(5, 5, 8, 8)) = 0;
    mask(cv::Rect(30, 20, 30, 20)) = 255;
    EXPECT_EQ(maskPolygons(mask).size(), 2U);
    expectComesBack(mask);
}

TEST(MaskPolygons, FillingThemGivesTheMaskBackButForHoles) {
    expectComesBack(cv::Mat(5, 7, CV_8U, cv::Scalar(255)));
    std::mt19937 random(20261122);
    std::uniform_int_distribution<int> place(-10, 90);
    std::uniform_int_distribution<int> size(0, 30);
    for (int round = 0; round < 200; ++round) {
        cv::Mat mask = cv::Mat::zeros(70, 83, CV_8U);
        for (int part = 0; part < 6; ++part) {
            const cv::Point center{place(random), place(random)};
            const cv::Size axes{size(random), size(random)};
            const int angle = place(random);
            cv::ellipse(mask, center, axes, angle, 0, 360, cv::Scalar(part == 4 ? 0 : 255), cv::FILLED);
        }
        expectComesBack(mask);
    }
}

TEST(MaskPolygons, EvenNoiseComesBack) {
    std::mt19937 random(20261123);
    std::uniform_int_distribution<int> chance(0, 99);
    for (int round = 0; round < 50; ++round) {
        cv::Mat mask(31, 37, CV_8U);
        for (auto pixel = mask.begin<std::uint8_t>(); pixel != mask.end<std::uint8_t>(); ++pixel) {
            *pixel = chance(random) < 2 * round ? 255 : 0;
        }
        expectComesBack(mask);
    }
}

}  // namespace
}  // namespace brellix::testing
