#include "brellix/drawing.h"
#include "support/images.h"

#include <gtest/gtest.h>

#include <limits>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

namespace {

using ai_orvo::model::CLASS_COLORS;
using ai_orvo::model::draw_objects;
using ai_orvo::model::Object;

using Names = std::vector<std::string>;
using brellix::testing::noisePicture;
using brellix::testing::sameBytes;

Object object(cv::Rect_<float> rect, int label, float prob) {
    return {rect, label, prob, cv::Mat()};
}

/// The drawing that box, background and text make when given as whole numbers.
cv::Mat expected(const cv::Mat& image, cv::Rect box, cv::Point label, const std::string& text,
                 const cv::Scalar& color) {
    cv::Mat result = image.clone();
    cv::rectangle(result, box.tl(), box.br() - cv::Point(1, 1), color, 2, 8);
    int baseline = 0;
    const cv::Size size = cv::getTextSize(text, cv::FONT_HERSHEY_SIMPLEX, 0.4, 1, &baseline);
    cv::rectangle(result, cv::Rect(label, cv::Size(size.width, size.height + baseline)),
                  cv::Scalar(0, 0, 255), -1);
    cv::putText(result, text, {label.x, label.y + size.height}, cv::FONT_HERSHEY_SIMPLEX, 0.4,
                cv::Scalar(255, 255, 255), 1);
    return result;
}

TEST(DrawObjects, WithoutObjectsTheImageIsCopied) {
    const cv::Mat image = noisePicture(50, 40);
    cv::Mat result;
    draw_objects(image, result, {}, {}, CLASS_COLORS);
    EXPECT_TRUE(sameBytes(image, result));
    EXPECT_NE(image.data, result.data);
}

TEST(DrawObjects, BoxIsRoundedAndLabelTruncated) {
    const cv::Mat image = noisePicture(200, 100);
    cv::Mat result;
    draw_objects(image, result, {object({20.6F, 30.7F, 50.5F, 40.4F}, 0, 0.876F)}, {"person"}, CLASS_COLORS);
    // 50.5 is a tie and goes to the even 50.
    const cv::Mat drawn =
        expected(image, {21, 31, 50, 40}, {20, 31}, "person 87.6%", cv::Scalar(0, 114, 189));
    EXPECT_TRUE(sameBytes(result, drawn));
}

TEST(DrawObjects, LabelTopIsClampedToTheRowCount) {
    const cv::Mat image = noisePicture(120, 60);
    cv::Mat result;
    draw_objects(image, result, {object({10, 75, 30, 30}, 0, 0.5F)}, {"a"}, CLASS_COLORS);
    const cv::Mat drawn = expected(image, {10, 75, 30, 30}, {10, 60}, "a 50.0%", cv::Scalar(0, 114, 189));
    EXPECT_TRUE(sameBytes(result, drawn));
}

TEST(DrawObjects, LabelOfABoxAboveThePictureFollowsIt) {
    const cv::Mat image = noisePicture(120, 60);
    cv::Mat result;
    draw_objects(image, result, {object({-5.9F, -3.9F, 60, 30}, 1, 1.0F)}, {"a", "bc"}, CLASS_COLORS);
    const cv::Mat drawn = expected(image, {-6, -4, 60, 30}, {-5, -2}, "bc 100.0%", cv::Scalar(217, 83, 25));
    EXPECT_TRUE(sameBytes(result, drawn));
}

TEST(DrawObjects, ABoxBeyondThePictureHasNoEdgeAtItsBorder) {
    const cv::Mat image = noisePicture(64, 48);
    cv::Mat result;
    draw_objects(image, result, {object({-200, 30, 500, 12}, 0, 0.5F)}, {"a"}, CLASS_COLORS);
    const cv::Rect atTheLeft(0, 33, 3, 6);
    EXPECT_TRUE(sameBytes(result(atTheLeft).clone(), image(atTheLeft).clone()));
    const cv::Rect atTheRight(61, 33, 3, 6);
    EXPECT_TRUE(sameBytes(result(atTheRight).clone(), image(atTheRight).clone()));
    EXPECT_FALSE(sameBytes(result, image));
}

TEST(DrawObjects, ObjectsAreDrawnInOrder) {
    const cv::Mat image = noisePicture(100, 100);
    const std::vector<Object> objects = {object({10, 10, 50, 50}, 0, 0.5F),
                                         object({12, 12, 50, 50}, 1, 0.4F)};
    const Names names = {"x", "y"};
    cv::Mat both;
    draw_objects(image, both, objects, names, CLASS_COLORS);
    cv::Mat inSteps;
    draw_objects(image, inSteps, {objects[0]}, names, CLASS_COLORS);
    draw_objects(inSteps, inSteps, {objects[1]}, names, CLASS_COLORS);
    EXPECT_TRUE(sameBytes(both, inSteps));
}

TEST(DrawObjects, TextIsCutAfter255Characters) {
    const cv::Mat image = noisePicture(3000, 60);
    cv::Mat result;
    draw_objects(image, result, {object({5, 5, 20, 20}, 0, 0.5F)}, {std::string(300, 'm')}, CLASS_COLORS);
    const cv::Mat drawn =
        expected(image, {5, 5, 20, 20}, {5, 6}, std::string(255, 'm'), cv::Scalar(0, 114, 189));
    EXPECT_TRUE(sameBytes(result, drawn));
}

TEST(DrawObjects, ANameEndsAtAZeroByte) {
    const cv::Mat image = noisePicture(120, 60);
    cv::Mat result;
    draw_objects(image, result, {object({10, 20, 30, 30}, 0, 0.5F)}, {std::string("a\0bc", 4)}, CLASS_COLORS);
    cv::Mat drawn;
    draw_objects(image, drawn, {object({10, 20, 30, 30}, 0, 0.5F)}, {"a"}, CLASS_COLORS);
    EXPECT_TRUE(sameBytes(result, drawn));
}

TEST(DrawObjects, ImageAndResultMayBeTheSameMatrix) {
    cv::Mat image = noisePicture(100, 100);
    const cv::Mat original = image.clone();
    const std::vector<Object> objects = {object({10, 10, 50, 50}, 0, 0.5F)};
    cv::Mat apart;
    draw_objects(original, apart, objects, {"x"}, CLASS_COLORS);
    draw_objects(image, image, objects, {"x"}, CLASS_COLORS);
    EXPECT_TRUE(sameBytes(image, apart));
    EXPECT_FALSE(sameBytes(image, original));
}

TEST(DrawObjects, ALabelOutsideTheTablesIsRefusedAndNothingIsDrawn) {
    const cv::Mat image = noisePicture(20, 20);
    cv::Mat result;
    for (const int label : {-1, 2, 80}) {
        EXPECT_THROW(
            draw_objects(image, result, {object({1, 1, 5, 5}, label, 0.5F)}, {"a", "b"}, CLASS_COLORS),
            std::out_of_range)
            << label;
    }
    EXPECT_THROW(draw_objects(image, result, {object({1, 1, 5, 5}, 0, 0.5F)}, {"a"}, {{1, 2}}),
                 std::out_of_range);
    EXPECT_TRUE(result.empty());
}

TEST(DrawObjects, ExtremeBoxesAreHarmless) {
    const cv::Mat image = noisePicture(64, 48);
    const float huge = std::numeric_limits<float>::max();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    std::vector<Object> objects;
    for (const float value : {huge, -huge, nan, 2147483520.0F, -2147483648.0F}) {
        objects.push_back(object({value, value, value, value}, 0, value));
        objects.push_back(object({1.0F, 1.0F, value, value}, 0, 0.5F));
        objects.push_back(object({value, 1.0F, huge, 5.0F}, 0, 0.5F));
    }
    cv::Mat result;
    draw_objects(image, result, objects, {"name"}, CLASS_COLORS);
    EXPECT_EQ(result.size(), image.size());
}

}  // namespace
