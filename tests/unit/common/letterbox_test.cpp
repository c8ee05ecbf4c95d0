#include "brellix/letterbox.h"
#include "support/images.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

namespace {

using ai_orvo::model::letterbox;
using ai_orvo::model::LetterboxInfo;
using brellix::testing::sameBytes;

const cv::Vec3b kGrey(114, 114, 114);

cv::Mat filled(int width, int height, const cv::Vec3b& color) {
    return cv::Mat(height, width, CV_8UC3, cv::Scalar(color[0], color[1], color[2]));
}

/// Rows of pure padding above and below, columns left and right of a picture that has no padding colour.
struct Border {
    int top, bottom, left, right;
};

Border borderOf(const cv::Mat& image) {
    cv::Mat differs;
    cv::inRange(image, cv::Scalar(114, 114, 114), cv::Scalar(114, 114, 114), differs);
    const cv::Rect inside = cv::boundingRect(~differs);
    return {inside.y, image.rows - inside.y - inside.height, inside.x, image.cols - inside.x - inside.width};
}

TEST(Letterbox, SourceOfTargetSizeIsCopiedUnchanged) {
    cv::Mat source(480, 640, CV_8UC3);
    cv::randu(source, 0, 256);
    cv::Mat result;
    cv::Size target(640, 480);
    const LetterboxInfo info = letterbox(source, result, target);
    EXPECT_TRUE(sameBytes(source, result));
    EXPECT_NE(source.data, result.data);
    EXPECT_EQ(info.ratio, 1.0F);
    EXPECT_EQ(info.dw, 0.0F);
    EXPECT_EQ(info.dh, 0.0F);
    EXPECT_EQ(info.src_height, 480.0F);
    EXPECT_EQ(info.src_width, 640.0F);
}

TEST(Letterbox, WideSourceIsHalvedAndCentred) {
    cv::Mat result;
    cv::Size target(640, 640);
    const LetterboxInfo info = letterbox(filled(1280, 720, {10, 20, 30}), result, target);
    EXPECT_EQ(result.size(), cv::Size(640, 640));
    EXPECT_EQ(info.ratio, 2.0F);
    EXPECT_EQ(info.dw, 0.0F);
    EXPECT_EQ(info.dh, 140.0F);
    EXPECT_EQ(info.src_height, 720.0F);
    EXPECT_EQ(info.src_width, 1280.0F);
    EXPECT_EQ(result.at<cv::Vec3b>(139, 0), kGrey);
    EXPECT_EQ(result.at<cv::Vec3b>(140, 0), cv::Vec3b(10, 20, 30));
    EXPECT_EQ(result.at<cv::Vec3b>(499, 639), cv::Vec3b(10, 20, 30));
    EXPECT_EQ(result.at<cv::Vec3b>(500, 639), kGrey);
}

TEST(Letterbox, OddPaddingGoesToBottomAndRight) {
    cv::Mat result;
    cv::Size square(64, 64);
    const LetterboxInfo flat = letterbox(filled(64, 63, {1, 2, 3}), result, square);
    EXPECT_EQ(flat.dh, 0.5F);
    Border border = borderOf(result);
    EXPECT_EQ(border.top, 0);
    EXPECT_EQ(border.bottom, 1);

    const LetterboxInfo narrow = letterbox(filled(61, 64, {1, 2, 3}), result, square);
    EXPECT_EQ(narrow.dw, 1.5F);
    border = borderOf(result);
    EXPECT_EQ(border.left, 1);
    EXPECT_EQ(border.right, 2);
}

TEST(Letterbox, SizesComeFromSinglePrecision) {
    // 102 * (416 / 384) is 110.5 in exact arithmetic and in float; a double scale falls just below it.
    cv::Mat result;
    cv::Size target(416, 416);
    const LetterboxInfo info = letterbox(filled(102, 384, {1, 2, 3}), result, target);
    EXPECT_EQ(info.dw, 152.5F);
    const Border border = borderOf(result);
    EXPECT_EQ(416 - border.left - border.right, 111);
    EXPECT_EQ(border.left, 152);
    EXPECT_EQ(border.right, 153);
}

TEST(Letterbox, EnlargesSmallSources) {
    cv::Mat result;
    cv::Size target(64, 32);
    const LetterboxInfo info = letterbox(filled(8, 8, {9, 9, 9}), result, target);
    EXPECT_EQ(info.ratio, 0.25F);
    EXPECT_EQ(info.dw, 16.0F);
    EXPECT_EQ(result.size(), cv::Size(64, 32));
}

TEST(Letterbox, SubmatrixDoesNotTakeItsSurroundingsIntoTheBorder) {
    cv::Mat parent = filled(100, 100, {255, 0, 255});
    const cv::Mat part = parent(cv::Rect(20, 30, 40, 20));
    cv::Mat result;
    cv::Size target(40, 40);
    letterbox(part, result, target);
    EXPECT_EQ(result.at<cv::Vec3b>(9, 20), kGrey);
    EXPECT_EQ(result.at<cv::Vec3b>(30, 20), kGrey);
    EXPECT_EQ(result.at<cv::Vec3b>(10, 20), cv::Vec3b(255, 0, 255));
}

TEST(Letterbox, SourceAndResultMayBeTheSameMatrix) {
    cv::Mat source(90, 120, CV_8UC3);
    cv::randu(source, 0, 256);
    cv::Mat apart;
    cv::Size target(64, 64);
    letterbox(source, apart, target);
    letterbox(source, source, target);
    EXPECT_TRUE(sameBytes(source, apart));

    cv::Mat unresized(64, 60, CV_8UC3);
    cv::randu(unresized, 0, 256);
    letterbox(unresized, apart, target);
    letterbox(unresized, unresized, target);
    EXPECT_TRUE(sameBytes(unresized, apart));
}

TEST(Letterbox, FourthChannelIsPaddedWithZero) {
    cv::Mat result;
    cv::Size target(8, 8);
    letterbox(cv::Mat(4, 8, CV_8UC4, cv::Scalar(1, 2, 3, 4)), result, target);
    EXPECT_EQ(result.at<cv::Vec4b>(0, 0), cv::Vec4b(114, 114, 114, 0));
    EXPECT_EQ(result.at<cv::Vec4b>(2, 0), cv::Vec4b(1, 2, 3, 4));
}

TEST(Letterbox, TargetIsNotModified) {
    cv::Mat result;
    cv::Size target(100, 60);
    letterbox(filled(33, 77, {5, 5, 5}), result, target);
    EXPECT_EQ(target, cv::Size(100, 60));
    EXPECT_EQ(result.size(), target);
}

TEST(Letterbox, EmptySourceRaisesOpenCvsException) {
    cv::Mat result;
    cv::Size target(64, 64);
    EXPECT_THROW(letterbox(cv::Mat(), result, target), cv::Exception);
    EXPECT_THROW(letterbox(cv::Mat(0, 5, CV_8UC3), result, target), cv::Exception);
}

TEST(Letterbox, SourceTooThinForAPixelRaisesOpenCvsException) {
    cv::Mat result;
    cv::Size target(640, 640);
    EXPECT_THROW(letterbox(filled(2000, 1, {1, 1, 1}), result, target), cv::Exception);
    EXPECT_THROW(letterbox(filled(1, 2000, {1, 1, 1}), result, target), cv::Exception);
}

TEST(Letterbox, ResultStaysAsItIsWhereTheSourceCannotBeScaled) {
    cv::Size target(64, 64);
    for (const int depth : {CV_8S, CV_32S}) {
        cv::Mat result(10, 20, CV_8UC3, cv::Scalar::all(5));
        EXPECT_THROW(letterbox(cv::Mat::zeros(30, 40, CV_MAKETYPE(depth, 3)), result, target), cv::Exception);
        EXPECT_EQ(result.size(), cv::Size(20, 10)) << depth;
        EXPECT_EQ(result.at<cv::Vec3b>(3, 3), cv::Vec3b(5, 5, 5)) << depth;
    }
}

TEST(Letterbox, ElementsThatCannotBeScaledArePadded) {
    cv::Size target(64, 64);
    cv::Mat result;
    letterbox(cv::Mat(64, 32, CV_32SC1, cv::Scalar::all(7)), result, target);
    EXPECT_EQ(result.at<int>(30, 31), 7);
    EXPECT_EQ(result.at<int>(30, 10), 114);
}

TEST(Letterbox, TargetWithoutPixelsRaisesOpenCvsException) {
    cv::Mat result;
    for (cv::Size target : {cv::Size(0, 0), cv::Size(-8, 8), cv::Size(2147483647, 2147483647)}) {
        EXPECT_THROW(letterbox(filled(4, 4, {1, 1, 1}), result, target), cv::Exception) << target;
    }
}

}  // namespace
