#include "brellix/yolov5.h"
#include "support/capture_stdout.h"
#include "support/fake_engine.h"
#include "support/tensor_values.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace ai_orvo::model;
using brellix::testing::FakeEngine;
using brellix::testing::floatTensor;
using brellix::testing::standardOutputOf;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNoSuppression = 2.0F;

struct Settings {
    float confThres = 0.25F;
    float nmsThres = kNoSuppression;
    int classNum = 1;
    LetterboxInfo letterbox{1.0F, 0.0F, 0.0F, 100.0F, 200.0F};
};

std::vector<Object> decode(const Settings& settings, const AIBuff& output) {
    FakeEngine::reset();
    YOLOv5 model("net", "RKNN", {64, 64}, settings.confThres, settings.nmsThres, settings.classNum);
    model.letterbox_info = settings.letterbox;
    TensorMap outputs;
    outputs["output0"] = output;
    std::vector<Object> objects(1);
    model.postprocess(outputs, objects);
    return objects;
}

std::vector<Object> decode(const Settings& settings, const std::vector<float>& rows) {
    return decode(settings, floatTensor(rows));
}

TEST(YOLOv5Postprocess, CornersFollowFromCentreAndSize) {
    const auto objects = decode({}, {50, 40, 20, 10, 1.0F, 0.5F});
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].rect, cv::Rect_<float>(40, 35, 20, 10));
    EXPECT_EQ(objects[0].label, 0);
    EXPECT_EQ(objects[0].prob, 0.5F);
}

TEST(YOLOv5Postprocess, MapsBackThroughTheLetterbox) {
    Settings settings;
    settings.letterbox = {2.0F, 3.0F, 5.0F, 100.0F, 200.0F};
    const auto objects = decode(settings, {33, 25, 10, 5, 1.0F, 0.5F});
    EXPECT_EQ(objects.at(0).rect, cv::Rect_<float>(50, 35, 20, 10));
}

TEST(YOLOv5Postprocess, CentreLeftOfTheImageGivesANegativeCorner) {
    const auto objects = decode({}, {-30, -1, 21, 7, 1.0F, 0.5F});
    // Half of 21 is 10.5: truncation toward zero gives -10.
    EXPECT_EQ(objects.at(0).rect, cv::Rect_<float>(-10, -3, 21, 7));
}

TEST(YOLOv5Postprocess, SizeIsClampedBeforeTheCornerIsFormed) {
    const auto objects = decode({}, {500, 300, 1000, 1000, 1.0F, 0.5F});
    EXPECT_EQ(objects.at(0).rect, cv::Rect_<float>(100, 50, 200, 100));
}

TEST(YOLOv5Postprocess, EveryValueIsTruncatedTowardZero) {
    const auto objects = decode({}, {50.9F, 40.9F, 20.9F, 10.9F, 1.0F, 0.5F});
    EXPECT_EQ(objects.at(0).rect, cv::Rect_<float>(40, 35, 20, 10));
    const auto small = decode({}, {0.1F, 0.1F, 1.0F, 1.0F, 1.0F, 0.5F});
    EXPECT_EQ(small.at(0).rect, cv::Rect_<float>(0, 0, 1, 1));
    EXPECT_FALSE(std::signbit(small.at(0).rect.x));
}

TEST(YOLOv5Postprocess, ThresholdsAreStrict) {
    EXPECT_TRUE(decode({}, {50, 40, 20, 10, 0.25F, 0.5F}).empty());
    EXPECT_TRUE(decode({}, {50, 40, 20, 10, 0.5F, 0.25F}).empty());
    EXPECT_EQ(decode({}, {50, 40, 20, 10, std::nextafter(0.25F, 1.0F), 0.5F}).size(), 1U);
}

TEST(YOLOv5Postprocess, ProductMayLieBelowTheThreshold) {
    const auto objects = decode({}, {50, 40, 20, 10, 0.3F, 0.3F});
    EXPECT_EQ(objects.at(0).prob, 0.3F * 0.3F);
}

TEST(YOLOv5Postprocess, EqualScoresKeepTheLowerIndex) {
    Settings settings;
    settings.classNum = 3;
    EXPECT_EQ(decode(settings, {50, 40, 20, 10, 1, 0.4F, 0.7F, 0.7F}).at(0).label, 1);
    EXPECT_EQ(decode(settings, {50, 40, 20, 10, 1, kNaN, 0.4F, kNaN}).at(0).label, 1);
}

TEST(YOLOv5Postprocess, WithoutClassesTheLabelIsMinusOne) {
    Settings settings;
    settings.classNum = 0;
    EXPECT_TRUE(decode(settings, {50, 40, 20, 10, 1.0F}).empty());
    settings.confThres = -0.5F;
    const auto objects = decode(settings, {50, 40, 20, 10, 1.0F});
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].label, -1);
    EXPECT_EQ(objects[0].prob, 0.0F);
}

TEST(YOLOv5Postprocess, NegativeScoresCountAsNoClass) {
    Settings settings;
    settings.confThres = -2.0F;
    const auto objects = decode(settings, {50, 40, 20, 10, -1.0F, -0.5F});
    EXPECT_EQ(objects.at(0).label, -1);
}

TEST(YOLOv5Postprocess, NanCoordinatesBecomeZero) {
    const auto objects = decode({}, {kNaN, kNaN, kNaN, kNaN, 1.0F, 0.5F});
    EXPECT_EQ(objects.at(0).rect, cv::Rect_<float>(0, 0, 0, 0));
    const auto infinite = decode({}, {kInfinity, -kInfinity, kInfinity, -kInfinity, 1.0F, 0.5F});
    EXPECT_EQ(infinite.at(0).rect, cv::Rect_<float>(100, 0, 200, 0));
}

TEST(YOLOv5Postprocess, NanThresholdsAndScoresPassNothing) {
    Settings settings;
    EXPECT_TRUE(decode(settings, {50, 40, 20, 10, kNaN, 0.5F}).empty());
    EXPECT_TRUE(decode(settings, {50, 40, 20, 10, 0.5F, kNaN}).empty());
    settings.confThres = kNaN;
    EXPECT_TRUE(decode(settings, {50, 40, 20, 10, 1.0F, 1.0F}).empty());
}

TEST(YOLOv5Postprocess, HugeLetterboxRecordsStayDefined) {
    Settings settings;
    settings.letterbox = {kInfinity, 0.0F, 0.0F, kInfinity, kNaN};
    const auto objects = decode(settings, {50, 40, 20, 10, 1.0F, 0.5F});
    ASSERT_EQ(objects.size(), 1U);
    // Infinite height saturates at the largest int, a bound of NaN lets nothing through.
    EXPECT_EQ(objects[0].rect.height, 2147483648.0F);
    EXPECT_EQ(objects[0].rect.width, 0.0F);
}

TEST(YOLOv5Postprocess, OnlyRowsCompletelyInsideTheBufferAreDecoded) {
    const std::vector<float> row = {50, 40, 20, 10, 1.0F, 0.5F};
    AIBuff output = floatTensor({50, 40, 20, 10, 1.0F, 0.5F, 90, 40, 20, 10, 1.0F, 0.5F});
    EXPECT_EQ(decode({}, output).size(), 2U);
    output.data->pop_back();
    EXPECT_EQ(decode({}, output).size(), 1U);
    output.data->resize(row.size() * 4 - 1);
    EXPECT_TRUE(decode({}, output).empty());
}

TEST(YOLOv5Postprocess, RowsPastTheCandidateCountAreNotRead) {
    std::vector<float> rows;
    const int candidates = 3 * (8 * 8 + 4 * 4 + 2 * 2);
    for (int i = 0; i < candidates + 4; ++i) {
        rows.insert(rows.end(), {50, 40, 20, 10, 1.0F, 0.5F});
    }
    EXPECT_EQ(decode({}, rows).size(), static_cast<std::size_t>(candidates));
}

TEST(YOLOv5Postprocess, EmptyAndNullBuffersGiveNoObjects) {
    EXPECT_TRUE(decode({}, AIBuff()).empty());
    AIBuff null;
    null.data = nullptr;
    EXPECT_TRUE(decode({}, null).empty());
}

TEST(YOLOv5Postprocess, NegativeClassCountGivesNoObjects) {
    Settings settings;
    settings.confThres = -1.0F;
    for (const int classNum : {-1, -5, -6, std::numeric_limits<int>::min()}) {
        settings.classNum = classNum;
        EXPECT_TRUE(decode(settings, std::vector<float>(200, 1.0F)).empty()) << classNum;
    }
}

TEST(YOLOv5Postprocess, AMissingOutputIsInserted) {
    FakeEngine::reset();
    YOLOv5 model("net", "RKNN", {64, 64}, 0.25F, 0.65F, 1);
    TensorMap outputs;
    std::vector<Object> objects(4);
    const std::string output = standardOutputOf([&] { model.postprocess(outputs, objects); });
    EXPECT_EQ(output, "dw: 0, dh: 0, ratio: 1\n");
    EXPECT_TRUE(objects.empty());
    EXPECT_EQ(outputs.count("output0"), 1U);
}

TEST(YOLOv5Postprocess, PrintsTheRecordInDefaultFloatFormat) {
    FakeEngine::reset();
    YOLOv5 model("net", "RKNN", {64, 64}, 0.25F, 0.65F, 1);
    model.letterbox_info = {1.0F / 3.0F, 0.5F, 1234567.0F, 1.0F, 1.0F};
    TensorMap outputs;
    std::vector<Object> objects;
    std::cout << std::fixed;
    const std::string output = standardOutputOf([&] { model.postprocess(outputs, objects); });
    std::cout << std::defaultfloat;
    EXPECT_EQ(output, "dw: 0.5, dh: 1.23457e+06, ratio: 0.333333\n");
}

TEST(YOLOv5Postprocess, OverlapsOfOneClassAreSuppressed) {
    Settings settings;
    settings.classNum = 2;
    settings.nmsThres = 0.5F;
    const auto objects = decode(settings, {50, 40, 20, 10, 1, 0.5F, 0.0F,  //
                                           50, 40, 20, 10, 1, 0.9F, 0.0F,  //
                                           50, 40, 20, 10, 1, 0.0F, 0.4F});
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0].prob, 0.9F);
    EXPECT_EQ(objects[1].label, 1);
}

}  // namespace
