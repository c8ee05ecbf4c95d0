#include "brellix/quantization.h"
#include "brellix/yolov8_seg.h"
#include "support/fake_engine.h"
#include "support/tensor_values.h"
#include "yolov8_seg/seg_fixture.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

namespace {

using namespace ai_orvo::model;
using brellix::testing::fillFirstPrototype;
using brellix::testing::makeSegModel;
using brellix::testing::placeObject;
using brellix::testing::quietFloatOutputs;

std::vector<Object> postprocess(YOLOv8Seg& model, TensorMap outputs) {
    std::vector<Object> objects;
    model.postprocess(outputs, objects);
    return objects;
}

TEST(YOLOv8SegPostprocess, NothingAboveTheThresholdLeavesTheObjectsUnchanged) {
    const auto model = makeSegModel();
    TensorMap outputs = quietFloatOutputs();
    std::vector<Object> objects(3);
    model->postprocess(outputs, objects);
    EXPECT_EQ(objects.size(), 3U);
    EXPECT_TRUE(objects[0].mask.empty());
}

TEST(YOLOv8SegPostprocess, ObjectsCarryBoxClassProbabilityAndMask) {
    const auto model = makeSegModel();
    TensorMap outputs = quietFloatOutputs();
    // Head 1, stride 16: cell (1, 2), one cell to each side: from (2 - 1 + 0.5) * 16 to (2 + 1 + 0.5) * 16.
    placeObject(outputs, 1, 1, 2, 1, 3.0F, 1, 1.0F);
    fillFirstPrototype(outputs, 2.0F);
    const auto objects = postprocess(*model, outputs);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].rect, cv::Rect_<float>(24, 8, 32, 32));
    EXPECT_EQ(objects[0].label, 1);
    EXPECT_EQ(objects[0].prob, sigmoid(3.0F));
    ASSERT_EQ(objects[0].mask.size(), cv::Size(64, 64));
    ASSERT_EQ(objects[0].mask.type(), CV_8U);
    cv::Mat expected = cv::Mat::zeros(64, 64, CV_8U);
    expected(cv::Rect(24, 8, 32, 32)).setTo(255);
    EXPECT_EQ(cv::norm(objects[0].mask, expected, cv::NORM_INF), 0.0);
}

TEST(YOLOv8SegPostprocess, ALogitOfZeroIsOutside) {
    const auto model = makeSegModel();
    TensorMap outputs = quietFloatOutputs();
    placeObject(outputs, 1, 1, 2, 1, 3.0F, 1, 0.0F);
    fillFirstPrototype(outputs, 2.0F);
    EXPECT_EQ(cv::countNonZero(postprocess(*model, outputs).at(0).mask), 0);
}

TEST(YOLOv8SegPostprocess, MaskIsCutAtTheImage) {
    const auto model = makeSegModel();
    TensorMap outputs = quietFloatOutputs();
    placeObject(outputs, 2, 0, 0, 0, 3.0F, 3, 1.0F);
    fillFirstPrototype(outputs, 2.0F);
    const auto objects = postprocess(*model, outputs);
    EXPECT_EQ(objects.at(0).rect, cv::Rect_<float>(0, 0, 64, 64));
    EXPECT_EQ(cv::countNonZero(objects.at(0).mask), 64 * 64);
}

TEST(YOLOv8SegPostprocess, LetterboxBorderIsCutOffThePrototypes) {
    const auto model = makeSegModel();
    // A source of 128 x 64 in 64 x 64: 16 rows of padding, 4 prototype rows on each side.
    model->letterboxInfo = {2.0F, 0.0F, 16.0F, 64.0F, 128.0F};
    TensorMap outputs = quietFloatOutputs();
    placeObject(outputs, 2, 0, 0, 0, 3.0F, 3, 1.0F);
    for (std::size_t row = 4; row < 12; ++row) {
        for (std::size_t column = 0; column < 16; ++column) {
            brellix::testing::setFloat(outputs["proto"], row * 16 + column, 1.0F);
        }
    }
    const auto objects = postprocess(*model, outputs);
    ASSERT_EQ(objects.at(0).mask.size(), cv::Size(128, 64));
    // Only image rows were positive, so no edge of the border is seen.
    EXPECT_EQ(cv::countNonZero(objects.at(0).mask),
              static_cast<int>(objects.at(0).rect.width) * static_cast<int>(objects.at(0).rect.height));
}

TEST(YOLOv8SegPostprocess, ObjectsComeByFallingScoreUpToTheLimit) {
    const auto model = makeSegModel();
    model->maxDetections = 3;
    TensorMap outputs = quietFloatOutputs();
    for (int i = 0; i < 5; ++i) {
        placeObject(outputs, 0, 1, i, i % 2, 1.0F + static_cast<float>(i), 0, 1.0F);
    }
    const auto objects = postprocess(*model, outputs);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[0].prob, sigmoid(5.0F));
    EXPECT_EQ(objects[1].prob, sigmoid(4.0F));
    EXPECT_EQ(objects[2].prob, sigmoid(3.0F));
}

TEST(YOLOv8SegPostprocess, SuppressedCandidatesDoNotCountAgainstTheLimit) {
    const auto model = makeSegModel();
    model->maxDetections = 2;
    TensorMap outputs = quietFloatOutputs();
    placeObject(outputs, 0, 3, 3, 0, 4.0F, 3, 1.0F);
    placeObject(outputs, 0, 3, 4, 0, 3.0F, 3, 1.0F);
    placeObject(outputs, 0, 0, 0, 1, 1.0F, 0, 1.0F);
    const auto objects = postprocess(*model, outputs);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0].prob, sigmoid(4.0F));
    EXPECT_EQ(objects[1].prob, sigmoid(1.0F));
}

TEST(YOLOv8SegPostprocess, ALimitOfZeroKeepsNothing) {
    const auto model = makeSegModel();
    model->maxDetections = 0;
    TensorMap outputs = quietFloatOutputs();
    placeObject(outputs, 0, 3, 3, 0, 4.0F, 3, 1.0F);
    EXPECT_TRUE(postprocess(*model, outputs).empty());
}

TEST(YOLOv8SegPostprocess, AnEmptyBoxKeepsAnEmptyMask) {
    const auto model = makeSegModel();
    model->letterboxInfo.dw = 100.0F;
    TensorMap outputs = quietFloatOutputs();
    placeObject(outputs, 0, 3, 3, 0, 4.0F, 3, 1.0F);
    fillFirstPrototype(outputs, 2.0F);
    model->inputSize = {640, 640};
    const auto objects = postprocess(*model, outputs);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].rect.width, 0.0F);
    EXPECT_EQ(objects[0].mask.size(), cv::Size(64, 64));
    EXPECT_EQ(cv::countNonZero(objects[0].mask), 0);
}

TEST(YOLOv8SegPostprocess, MasksGoToTheFirstObjectsOfTheVector) {
    const auto model = makeSegModel();
    TensorMap outputs = quietFloatOutputs();
    placeObject(outputs, 0, 3, 3, 0, 4.0F, 1, 1.0F);
    std::vector<Object> objects(1);
    model->postprocess(outputs, objects);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_FALSE(objects[0].mask.empty());
    EXPECT_TRUE(objects[1].mask.empty());
}

TEST(YOLOv8SegPostprocess, ABoxOutsideTheImageRaisesOpenCvsException) {
    const auto model = makeSegModel();
    TensorMap outputs = quietFloatOutputs();
    placeObject(outputs, 0, 3, 3, 0, 4.0F, 1, 1.0F);
    // The first object of the vector receives the mask, and this one was not made for the image.
    std::vector<Object> objects(1);
    objects[0].rect = {60, 60, 20, 20};
    EXPECT_THROW(model->postprocess(outputs, objects), cv::Exception);
}

TEST(YOLOv8SegPostprocess, MissingNamesAreInsertedBeforeTheEarlyReturn) {
    const auto model = makeSegModel();
    TensorMap outputs;
    std::vector<Object> objects;
    model->postprocess(outputs, objects);
    EXPECT_EQ(outputs.size(), 10U);
    EXPECT_EQ(outputs.count("proto"), 1U);
    EXPECT_EQ(outputs.count("output8"), 1U);
}

TEST(YOLOv8SegPostprocess, AMissingPrototypeTensorCountsAsZero) {
    const auto model = makeSegModel();
    TensorMap outputs = quietFloatOutputs();
    outputs["proto"].data = nullptr;
    placeObject(outputs, 0, 3, 3, 0, 4.0F, 1, 1.0F);
    EXPECT_EQ(cv::countNonZero(postprocess(*model, outputs).at(0).mask), 0);
}

TEST(YOLOv8SegPostprocess, MostInputsThatAreNotSquareAreRefusedOnceSomethingIsFound) {
    brellix::testing::FakeEngine::reset();
    YOLOv8Seg model(
        YAML::Load("{model_path: a, framework: ONNX, class_num: 2, conf_thres: 0.5, nms_thres: 0.5, "
                   "input_size: [128, 64], is_quantized: false}"));
    model.letterboxInfo = {1.0F, 0.0F, 0.0F, 64.0F, 128.0F};
    TensorMap outputs;
    outputs["output0"].data->assign(64 * 8 * 16 * 4, 0);
    outputs["output1"] = brellix::testing::floatTensor(std::vector<float>(2 * 8 * 16, -5.0F));
    outputs["output2"].data->assign(32 * 8 * 16 * 4, 0);
    std::vector<Object> objects;
    EXPECT_NO_THROW(model.postprocess(outputs, objects));
    brellix::testing::setFloat(outputs["output1"], 0, 5.0F);
    EXPECT_THROW(model.postprocess(outputs, objects), cv::Exception);
}

TEST(YOLOv8SegPostprocess, QuantisedOutputsGiveTheSameMasks) {
    const auto floatModel = makeSegModel();
    TensorMap floats = quietFloatOutputs();
    placeObject(floats, 1, 1, 2, 1, 3.0F, 1, 5.0F);
    for (std::size_t i = 0; i < 16 * 16; ++i) {
        brellix::testing::setFloat(floats["proto"], i, static_cast<float>(i % 7) - 3.0F);
    }
    TensorMap bytes;
    for (auto& [name, tensor] : floats) {
        AIBuff quantised;
        quantised.zp = name == "proto" ? 4 : 0;
        quantised.scale = 1.0F;
        for (const float value : brellix::testing::floatsOf(tensor)) {
            quantised.data->push_back(static_cast<std::int8_t>(value + static_cast<float>(quantised.zp)));
        }
        bytes[name] = quantised;
    }
    const auto expected = postprocess(*floatModel, floats);
    const auto int8Model = makeSegModel(true);
    const auto found = postprocess(*int8Model, bytes);
    ASSERT_EQ(found.size(), 1U);
    ASSERT_EQ(expected.size(), 1U);
    EXPECT_EQ(found[0].rect, expected[0].rect);
    EXPECT_EQ(found[0].prob, expected[0].prob);
    EXPECT_GT(cv::countNonZero(expected[0].mask), 0);
    EXPECT_EQ(cv::norm(found[0].mask, expected[0].mask, cv::NORM_INF), 0.0);
}

cv::Mat twoByTwo(float a, float b, float c, float d) {
    return (cv::Mat_<float>(2, 2) << a, b, c, d);
}

TEST(YOLOv8SegMasks, PrototypesBecomeOneRowEach) {
    const auto model = makeSegModel();
    model->maskCoefCount = 2;
    model->protoWidth = 2;
    model->protoHeight = 1;
    AIBuff proto = brellix::testing::floatTensor({1, 2, 3, 4, 5});
    cv::Mat matrix;
    model->decodeMask_fp32(proto, matrix);
    EXPECT_EQ(cv::norm(matrix, twoByTwo(1, 2, 3, 4), cv::NORM_INF), 0.0);
    proto.data->resize(12);
    model->decodeMask_fp32(proto, matrix);
    EXPECT_EQ(cv::norm(matrix, twoByTwo(1, 2, 3, 0), cv::NORM_INF), 0.0);
}

TEST(YOLOv8SegMasks, Int8PrototypesLoseTheirZeroPointOnly) {
    const auto model = makeSegModel(true);
    model->maskCoefCount = 2;
    model->protoWidth = 2;
    model->protoHeight = 1;
    AIBuff proto;
    proto.data->assign({127, -128, 0, 5});
    proto.zp = -128;
    proto.scale = 0.01F;
    cv::Mat matrix;
    model->decodeMask_i8(proto, matrix);
    EXPECT_EQ(cv::norm(matrix, twoByTwo(255, 0, 128, 133), cv::NORM_INF), 0.0);
}

}  // namespace
