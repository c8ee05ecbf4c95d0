// The references against values worked out by hand: a test that compares the library with them is worth what
// they are worth.

#include "reference/class_names.h"
#include "reference/cutoff_boxes.h"
#include "reference/drawing.h"
#include "reference/fused_boxes.h"
#include "reference/input_tensor.h"
#include "reference/letterbox.h"
#include "reference/object_nms.h"
#include "reference/quantization.h"
#include "reference/rounding.h"
#include "reference/tensor_reading.h"
#include "support/tensor_values.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace brellix::reference {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::LetterboxInfo;
using ai_orvo::model::Object;
using testing::floatTensor;
using testing::int8Tensor;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();

Object objectAt(const cv::Rect_<float>& rect, int label, float prob) {
    Object object;
    object.rect = rect;
    object.label = label;
    object.prob = prob;
    return object;
}

TEST(ReferenceRounding, SaturatesAndSendsNanToZero) {
    EXPECT_EQ(truncateTowardZero(2.9F), 2);
    EXPECT_EQ(truncateTowardZero(-2.9F), -2);
    EXPECT_EQ(truncateTowardZero(kNan), 0);
    EXPECT_EQ(truncateTowardZero(kInf), kIntMax);
    EXPECT_EQ(truncateTowardZero(-3e9F), kIntMin);
    EXPECT_EQ(roundHalfAwayFromZero(0.5F), 1);
    EXPECT_EQ(roundHalfAwayFromZero(-0.5F), -1);
    EXPECT_EQ(roundToNearest(0.5F), 0);
    EXPECT_EQ(roundToNearest(1.5F), 2);
    EXPECT_EQ(roundToNearest(kNan), 0);
    EXPECT_EQ(roundToNearest(kInf), kIntMax);
    EXPECT_EQ(limitToRange(kNan, 7.0F), 0.0F);
    EXPECT_EQ(limitToRange(kInf, 7.0F), 7.0F);
    EXPECT_EQ(limitToRange(3.0F, 7.0F), 3.0F);
}

TEST(ReferenceTensorReading, KnowsWhatABufferHolds) {
    const AIBuff buffer = floatTensor({1.0F, 2.0F, 3.0F});
    EXPECT_TRUE(holdsElements(buffer, sizeof(float), {3, 1}));
    EXPECT_FALSE(holdsElements(buffer, sizeof(float), {2, 2}));
    EXPECT_FALSE(holdsElements(buffer, sizeof(float), {kIntMax, kIntMax, kIntMax, kIntMax}));
    EXPECT_TRUE(holdsElements(buffer, sizeof(float), {kIntMax, 0}));
    EXPECT_EQ(floatElement(buffer, 2), 3.0F);
    EXPECT_THROW(floatElement(buffer, 3), std::out_of_range);
    AIBuff null;
    null.data = nullptr;
    EXPECT_EQ(byteCount(null), 0U);
}

TEST(ReferenceLetterbox, HalvesAWidePicture) {
    cv::Mat out;
    const LetterboxInfo info = letterbox(cv::Mat(720, 1280, CV_8UC3, cv::Scalar(1, 2, 3)), out, {640, 640});
    EXPECT_EQ(info.ratio, 2.0F);
    EXPECT_EQ(info.dw, 0.0F);
    EXPECT_EQ(info.dh, 140.0F);
    EXPECT_EQ(info.src_height, 720.0F);
    EXPECT_EQ(info.src_width, 1280.0F);
    ASSERT_EQ(out.size(), cv::Size(640, 640));
    EXPECT_EQ(out.at<cv::Vec3b>(139, 0), cv::Vec3b(114, 114, 114));
    EXPECT_EQ(out.at<cv::Vec3b>(140, 0), cv::Vec3b(1, 2, 3));
    EXPECT_EQ(out.at<cv::Vec3b>(499, 639), cv::Vec3b(1, 2, 3));
    EXPECT_EQ(out.at<cv::Vec3b>(500, 639), cv::Vec3b(114, 114, 114));
}

TEST(ReferenceLetterbox, OddPaddingGoesToTheBottom) {
    cv::Mat out;
    const LetterboxInfo info = letterbox(cv::Mat(639, 640, CV_8UC1, cv::Scalar(9)), out, {640, 640});
    EXPECT_EQ(info.ratio, 1.0F);
    EXPECT_EQ(info.dh, 0.5F);
    EXPECT_EQ(out.at<std::uint8_t>(0, 0), 9);
    EXPECT_EQ(out.at<std::uint8_t>(639, 0), 114);
}

TEST(ReferenceLetterbox, WorksInSinglePrecision) {
    cv::Mat out;
    const LetterboxInfo info = letterbox(cv::Mat(384, 102, CV_8UC3, cv::Scalar::all(0)), out, {416, 416});
    EXPECT_EQ(info.dw, 152.5F);  // 111 columns; double precision would give 110
    EXPECT_EQ(info.dh, 0.0F);
}

TEST(ReferenceLetterbox, RefusesNothingAndTooThin) {
    cv::Mat out;
    EXPECT_THROW(letterbox(cv::Mat(), out, {640, 640}), cv::Exception);
    EXPECT_THROW(letterbox(cv::Mat(1, 2000, CV_8UC3), out, {640, 640}), cv::Exception);
}

TEST(ReferenceInputTensor, MakesPlanesInRedGreenBlueOrder) {
    const cv::Mat image(1, 2, CV_8UC3, cv::Scalar(255, 51, 0));
    const std::vector<std::int8_t> bytes = floatBlob(image, true);
    ASSERT_EQ(bytes.size(), 6 * sizeof(float));
    AIBuff blob;
    *blob.data = bytes;
    EXPECT_EQ(floatElement(blob, 0), 0.0F);
    EXPECT_EQ(floatElement(blob, 2), 51.0F * 0.003921569F);
    EXPECT_EQ(floatElement(blob, 4), 255.0F * 0.003921569F);
    const std::vector<std::int8_t> expected = {-1, 51, 0, -1, 51, 0};
    EXPECT_EQ(rawBytes(image), expected);
}

TEST(ReferenceIou, MeasuresWholePixels) {
    EXPECT_EQ(iou({0, 0, 10, 10}, {0, 0, 10, 10}), 1.0F);
    EXPECT_EQ(iou({0, 0, 10, 10}, {5, 0, 10, 10}), 50.0F / 150.0F);
    EXPECT_EQ(iou({0, 0, 10, 10}, {10, 0, 10, 10}), 0.0F);
    EXPECT_EQ(iou({0, 0, 0, 0}, {0, 0, 0, 0}), 0.0F);
    EXPECT_EQ(iou({0, 0, -5, 5}, {0, 0, 1, 1}), 0.0F);
    EXPECT_EQ(iou({kIntMin, kIntMin, kIntMax, kIntMax}, {kIntMin, kIntMin, kIntMax, kIntMax}), 1.0F);
    EXPECT_EQ(iou({0, 0, kIntMin, kIntMin}, {kIntMax, kIntMax, kIntMin, kIntMin}), 0.0F);
}

TEST(ReferenceObjectNms, SuppressesStrictlyAboveTheThresholdInsideAClass) {
    const std::vector<Object> objects = {objectAt({5, 0, 10, 10}, 1, 0.5F), objectAt({0, 0, 10, 10}, 1, 0.9F),
                                         objectAt({0, 0, 10, 10}, -1, 0.1F)};
    const std::vector<Object> all = keepGreedily(objects, 50.0F / 150.0F);
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0].label, -1);
    EXPECT_EQ(all[1].prob, 0.9F);
    EXPECT_EQ(all[2].prob, 0.5F);
    EXPECT_EQ(keepGreedily(objects, 0.33F).size(), 2U);
    EXPECT_TRUE(keepGreedily({}, 0.5F).empty());
}

TEST(ReferenceObjectNms, NegativeThresholdSuppressesBoxesThatDoNotTouch) {
    const std::vector<Object> kept = keepGreedily(
        {objectAt({50, 50, 1, 1}, 0, kNan), objectAt({0, 0, 1, 1}, 0, 0.2F), objectAt({9, 9, 1, 1}, 0, 0.1F)},
        -0.5F);
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept[0].prob, 0.2F);
}

TEST(ReferenceFusedBoxes, MapsARowBackToTheSource) {
    FusedSettings settings;
    settings.letterbox = {2.0F, 2.0F, 4.0F, 100.0F, 100.0F};
    settings.classNum = 2;
    settings.numCandidates = 2;
    const AIBuff output = floatTensor({10, 20, 8, 6, 0.5F, 0.6F, 0.9F, -5, 20, 4.5F, 6, 0.75F, 0.8F, 0.8F});
    const std::vector<Object> objects = decodeFusedRows(settings, output);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0].rect, cv::Rect_<float>(8, 26, 16, 12));
    EXPECT_EQ(objects[0].label, 1);
    EXPECT_EQ(objects[0].prob, 0.5F * 0.9F);
    EXPECT_EQ(objects[1].rect, cv::Rect_<float>(-4, 26, 9, 12));  // the centre left of the picture, -4.5
    EXPECT_EQ(objects[1].label, 0);
}

TEST(ReferenceFusedBoxes, SkipsEqualToTheThresholdAndCutRows) {
    FusedSettings settings;
    settings.letterbox = {1.0F, 0.0F, 0.0F, 100.0F, 100.0F};
    settings.classNum = 1;
    settings.numCandidates = 3;
    const std::vector<float> rows = {1, 1,    1,     1, 0.25F, 0.9F, 1, 1,    1,
                                     1, 0.9F, 0.25F, 1, 1,     1,    1, 0.9F, 0.9F};
    AIBuff output = floatTensor(rows);
    EXPECT_EQ(decodeFusedRows(settings, output).size(), 1U);
    output.data->pop_back();
    EXPECT_TRUE(decodeFusedRows(settings, output).empty());
    settings.confThreshold = -1.0F;
    settings.classNum = 0;
    settings.numCandidates = 1;
    const std::vector<Object> objects = decodeFusedRows(settings, output);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].label, -1);
    EXPECT_EQ(objects[0].prob, 0.0F);
}

TEST(ReferenceFusedBoxes, WritesTheLetterboxLikeAStream) {
    EXPECT_EQ(letterboxLine({2.0F, 0.0F, 140.0F, 720.0F, 1280.0F}), "dw: 0, dh: 140, ratio: 2\n");
    EXPECT_EQ(letterboxLine({1.0F / 3.0F, 0.5F, 0.0F, 1.0F, 1.0F}), "dw: 0.5, dh: 0, ratio: 0.333333\n");
}

TEST(ReferenceQuantization, TruncatesAndSaturates) {
    EXPECT_EQ(clip(5.7F, 0, 10), 5);
    EXPECT_EQ(clip(-0.5F, -1, 1), 0);
    EXPECT_EQ(clip(10, 0, 10), 10);
    EXPECT_EQ(clip(kNan, 0, 10), 0);
    EXPECT_EQ(quantize(1000, 0, 1), 127);
    EXPECT_EQ(quantize(-1000, 0, 1), -128);
    EXPECT_EQ(quantize(0.99F, 0, 1), 0);
    EXPECT_EQ(quantize(3.9F, 0, 1), 3);
    EXPECT_EQ(quantize(-3.9F, 0, 1), -3);
    EXPECT_EQ(quantize(0, -128, 0.5F), -128);
    EXPECT_EQ(quantize(1, 0, 0), 127);
    EXPECT_EQ(quantize(-1, 0, 0), -128);
    EXPECT_EQ(quantize(0, 0, 0), 0);
}

TEST(ReferenceQuantization, InvertsTheLogisticFunction) {
    EXPECT_EQ(sigmoid(0), 0.5F);
    EXPECT_EQ(sigmoid(-100), 0.0F);
    EXPECT_EQ(unsigmoid(0.5F), 0.0F);
    EXPECT_EQ(unsigmoid(1), kInf);
    EXPECT_EQ(unsigmoid(0), -kInf);
    EXPECT_TRUE(std::isnan(unsigmoid(2)));
    EXPECT_EQ(dequantize(-128, -128, 0.3F), 0.0F);
    EXPECT_EQ(dequantize(127, 0, 0.1F), 12.7F);
}

CutoffSettings oneCell(int classNum) {
    CutoffSettings settings;
    settings.inputSize = {8, 8};
    settings.letterbox = {1.0F, 0.0F, 0.0F, 100.0F, 100.0F};
    settings.confThreshold = 0.4F;
    settings.classNum = classNum;
    settings.channelsPerAnchor = classNum + 5;
    return settings;
}

TEST(ReferenceCutoffBoxes, ZeroBytesGiveTheAnchorsAtTheCellCentre) {
    std::vector<Object> objects;
    const AIBuff output = int8Tensor(std::vector<std::int8_t>(3 * 7, 0), 0, 1.0F);
    EXPECT_EQ(decodeCutoffHead(oneCell(2), output, 0, objects), 3);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[0].rect, cv::Rect_<float>(-1, -2, 10, 13));  // 4 - 5 and 4 - 6.5, truncated
    EXPECT_EQ(objects[2].rect, cv::Rect_<float>(-12, -7, 33, 23));
    EXPECT_EQ(objects[0].label, 0);
    EXPECT_EQ(objects[0].prob, 0.25F);
}

TEST(ReferenceCutoffBoxes, EqualPassesTheByteTestButNotTheClassTest) {
    std::vector<Object> objects;
    CutoffSettings settings = oneCell(1);
    settings.confThreshold = 0.5F;
    const AIBuff output = int8Tensor(std::vector<std::int8_t>(3 * 6, 17), 17, 0.5F);
    EXPECT_EQ(decodeCutoffHead(settings, output, 0, objects), 3);
    EXPECT_TRUE(objects.empty());
}

TEST(ReferenceCutoffBoxes, RefusesOtherHeadsAndShortBuffers) {
    std::vector<Object> objects;
    AIBuff output = int8Tensor(std::vector<std::int8_t>(3 * 6, 0), 0, 1.0F);
    EXPECT_EQ(decodeCutoffHead(oneCell(1), output, 3, objects), 0);
    EXPECT_EQ(decodeCutoffHead(oneCell(1), output, -1, objects), 0);
    EXPECT_EQ(decodeCutoffHead(oneCell(1), output, 1, objects), 0);  // no cell of 16 pixels
    output.data->pop_back();
    EXPECT_EQ(decodeCutoffHead(oneCell(1), output, 0, objects), 0);
    EXPECT_TRUE(objects.empty());
}

TEST(ReferenceDrawing, WithoutObjectsCopiesOrBrightens) {
    const cv::Mat image(4, 4, CV_8UC3, cv::Scalar(100, 200, 0));
    EXPECT_EQ(cv::norm(drawObjects(image, {}, {}, {}), image, cv::NORM_INF), 0.0);
    const cv::Mat blended = drawObjectsMasks(image, {}, {}, {}, {});
    EXPECT_EQ(blended.at<cv::Vec3b>(3, 3), cv::Vec3b(131, 255, 1));
}

TEST(ReferenceDrawing, LabelsWithNameAndPercent) {
    const cv::Mat image = cv::Mat::zeros(80, 200, CV_8UC3);
    const Object object = objectAt({10.4F, 20.6F, 150, 50}, 0, 0.876F);
    const cv::Mat drawn = drawObjects(image, {object}, {"person"}, {{1, 2, 3}});
    int baseline = 0;
    const cv::Size text = cv::getTextSize("person 87.6%", cv::FONT_HERSHEY_SIMPLEX, 0.4, 1, &baseline);
    const int bottom = 21 + text.height + baseline - 1;  // 20.6 truncated, and one
    EXPECT_EQ(drawn.at<cv::Vec3b>(bottom, 10 + text.width - 1), cv::Vec3b(0, 0, 255));
    EXPECT_EQ(drawn.at<cv::Vec3b>(bottom, 10 + text.width), cv::Vec3b(0, 0, 0));
    EXPECT_EQ(drawn.at<cv::Vec3b>(70, 100), cv::Vec3b(1, 2, 3));  // 20.6 rounded and 50, less one
    EXPECT_THROW(drawObjects(image, {object}, {}, {{1, 2, 3}}), std::out_of_range);
    EXPECT_THROW(drawObjects(image, {object}, {"person"}, {{1, 2}}), std::out_of_range);
}

TEST(ReferenceDrawing, AMissingMaskColoursNothing) {
    const cv::Mat image(40, 40, CV_8UC3, cv::Scalar::all(100));
    Object masked = objectAt({0, 0, 4, 4}, 25, 0.5F);
    masked.mask = cv::Mat::zeros(40, 40, CV_8U);
    masked.mask.at<std::uint8_t>(39, 0) = 255;
    const std::vector<std::string> names(26, "x");
    const ColorTable colors(26, {0, 0, 0});
    ColorTable maskColors(20, {0, 0, 0});
    maskColors[5] = {250, 0, 50};
    const cv::Mat drawn =
        drawObjectsMasks(image, {objectAt({0, 0, 4, 4}, 0, 0.5F), masked}, names, colors, maskColors);
    EXPECT_EQ(drawn.at<cv::Vec3b>(39, 0), cv::Vec3b(251, 51, 91));
    EXPECT_EQ(drawn.at<cv::Vec3b>(39, 1), cv::Vec3b(131, 131, 131));
    masked.mask = cv::Mat::zeros(39, 40, CV_8U);
    EXPECT_THROW(drawObjectsMasks(image, {masked}, names, colors, maskColors), cv::Exception);
}

TEST(ReferenceClassNames, KeepsEveryPieceUnchanged) {
    EXPECT_EQ(labelsOf("a\n\n b \r\nlast"), (std::vector<std::string>{"a", "", " b \r", "last"}));
    EXPECT_EQ(labelsOf("a\n"), (std::vector<std::string>{"a"}));
    EXPECT_EQ(labelsOf("\n"), (std::vector<std::string>{""}));
    EXPECT_TRUE(labelsOf("").empty());
}

}  // namespace
}  // namespace brellix::reference
