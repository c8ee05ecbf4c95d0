#include "brellix/drawing.h"
#include "support/images.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>
#include <stdexcept>

namespace {

using ai_orvo::model::CLASS_COLORS;
using ai_orvo::model::draw_objects_masks;
using ai_orvo::model::MASK_COLORS;
using ai_orvo::model::Object;
using brellix::testing::noisePicture;
using brellix::testing::sameBytes;

cv::Mat blended(const cv::Mat& image, const cv::Mat& colored) {
    cv::Mat result;
    cv::addWeighted(image, 0.5, colored, 0.8, 1.0, result);
    return result;
}

/// An object without a box that is seen: its label lies below the picture.
Object hidden(int label, const cv::Mat& mask, int rows) {
    return {{0, static_cast<float>(rows + 50), 0, 0}, label, 0.5F, mask};
}

std::vector<std::string> names(std::size_t count) {
    return std::vector<std::string>(count, "n");
}

TEST(DrawObjectsMasks, WithoutObjectsThePictureIsBrightened) {
    const cv::Mat image = noisePicture(60, 40);
    cv::Mat result;
    draw_objects_masks(image, result, {}, {}, CLASS_COLORS, MASK_COLORS);
    EXPECT_TRUE(sameBytes(result, blended(image, image)));
}

TEST(DrawObjectsMasks, RefusesHalfFloats) {
    const cv::Mat image(4, 4, CV_16FC3, cv::Scalar::all(0));
    cv::Mat result;
    EXPECT_THROW(draw_objects_masks(image, result, {}, {}, CLASS_COLORS, MASK_COLORS), cv::Exception);
    EXPECT_TRUE(result.empty());
}

TEST(DrawObjectsMasks, MaskPixelsTakeTheLabelsColorModuloTwenty) {
    const cv::Mat image = noisePicture(60, 40);
    cv::Mat mask = cv::Mat::zeros(40, 60, CV_8U);
    mask(cv::Rect(10, 10, 20, 15)).setTo(255);
    cv::Mat result;
    draw_objects_masks(image, result, {hidden(25, mask, 40)}, names(80), CLASS_COLORS, MASK_COLORS);
    cv::Mat colored = image.clone();
    colored.setTo(cv::Scalar(72, 249, 10), mask);
    EXPECT_TRUE(sameBytes(result, blended(image, colored)));
}

TEST(DrawObjectsMasks, LaterMasksCoverEarlierOnes) {
    const cv::Mat image = noisePicture(30, 30);
    const cv::Mat whole(30, 30, CV_8U, cv::Scalar(255));
    cv::Mat result;
    draw_objects_masks(image, result, {hidden(0, whole, 30), hidden(1, whole, 30)}, names(2), CLASS_COLORS,
                       MASK_COLORS);
    EXPECT_TRUE(sameBytes(result, blended(image, cv::Mat(30, 30, CV_8UC3, cv::Scalar(255, 157, 151)))));
}

TEST(DrawObjectsMasks, LabelsAreLargerThanTheDetectors) {
    const cv::Mat image = noisePicture(300, 200);
    cv::Mat result;
    draw_objects_masks(image, result, {{{20.6F, 30.7F, 50.5F, 40.4F}, 25, 0.876F, cv::Mat()}}, names(80),
                       CLASS_COLORS, MASK_COLORS);
    cv::Mat drawn = blended(image, image);
    cv::rectangle(drawn, cv::Rect(21, 31, 50, 40), cv::Scalar(0, 170, 128), 2, 8);
    int baseline = 0;
    const cv::Size size = cv::getTextSize("n 87.6%", cv::FONT_HERSHEY_SIMPLEX, 1.0, 2, &baseline);
    cv::rectangle(drawn, cv::Rect(20, 31, size.width, size.height + baseline), cv::Scalar(0, 0, 255), -1);
    cv::putText(drawn, "n 87.6%", {20, 31 + size.height}, cv::FONT_HERSHEY_SIMPLEX, 1.0,
                cv::Scalar(255, 255, 255), 2);
    EXPECT_TRUE(sameBytes(result, drawn));
}

TEST(DrawObjectsMasks, AnObjectWithoutAMaskIsBoxedButNotColored) {
    const cv::Mat image = noisePicture(60, 40);
    cv::Mat result;
    draw_objects_masks(image, result, {hidden(3, cv::Mat(), 40)}, names(4), CLASS_COLORS, MASK_COLORS);
    EXPECT_TRUE(sameBytes(result, blended(image, image)));
}

TEST(DrawObjectsMasks, WithoutMasksNoColorOfAMaskIsNeeded) {
    const cv::Mat image = noisePicture(60, 40);
    cv::Mat result;
    draw_objects_masks(image, result, {hidden(3, cv::Mat(), 40)}, names(4), CLASS_COLORS, {});
    EXPECT_TRUE(sameBytes(result, blended(image, image)));
    const Object object{{1, 1, 5, 5}, 3, 0.5F, cv::Mat(image.size(), CV_8U, cv::Scalar(255))};
    EXPECT_THROW(draw_objects_masks(image, result, {object}, names(4), CLASS_COLORS, {}), std::out_of_range);
}

TEST(DrawObjectsMasks, AMaskOfAnotherSizeIsRefused) {
    const cv::Mat image = noisePicture(60, 40);
    cv::Mat result;
    const Object object{{1, 1, 5, 5}, 0, 0.5F, cv::Mat(10, 10, CV_8U, cv::Scalar(255))};
    EXPECT_THROW(draw_objects_masks(image, result, {object}, names(1), CLASS_COLORS, MASK_COLORS),
                 cv::Exception);
    EXPECT_TRUE(result.empty());
}

TEST(DrawObjectsMasks, ANegativeLabelIsRefused) {
    const cv::Mat image = noisePicture(60, 40);
    cv::Mat result;
    const Object object{{1, 1, 5, 5}, -1, 0.5F, cv::Mat(40, 60, CV_8U, cv::Scalar(255))};
    EXPECT_THROW(draw_objects_masks(image, result, {object}, names(1), CLASS_COLORS, MASK_COLORS),
                 std::out_of_range);
}

TEST(DrawObjectsMasks, ImageAndResultMayBeTheSameMatrix) {
    cv::Mat image = noisePicture(60, 40);
    cv::Mat apart;
    draw_objects_masks(image, apart, {}, {}, CLASS_COLORS, MASK_COLORS);
    draw_objects_masks(image, image, {}, {}, CLASS_COLORS, MASK_COLORS);
    EXPECT_TRUE(sameBytes(image, apart));
}

}  // namespace
