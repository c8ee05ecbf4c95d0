#include "brellix/run_report.h"
#include "brellix/yolov5.h"
#include "support/capture_stdout.h"
#include "support/fake_engine.h"
#include "support/images.h"
#include "support/tensor_values.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <opencv2/core.hpp>
#include <opencv2/dnn.hpp>
#include <thread>

namespace {

using namespace ai_orvo::model;
using brellix::testing::FakeEngine;
using brellix::testing::floatsOf;
using brellix::testing::noisePicture;
using brellix::testing::standardOutputOf;

void writeRow(AIBuff& output, std::size_t row, const std::vector<float>& values) {
    std::memcpy(output.data->data() + row * values.size() * sizeof(float), values.data(),
                values.size() * sizeof(float));
}

TEST(YOLOv5Detect, EngineReceivesThePlanarRgbImage) {
    FakeEngine& engine = FakeEngine::reset();
    YOLOv5 model("net", "RKNN", {64, 32}, 0.3F, 0.6F, 2);
    const cv::Mat image = noisePicture(64, 32);
    std::vector<Object> objects;
    model.detect(image, objects);

    ASSERT_EQ(engine.inputs.size(), 1U);
    ASSERT_EQ(engine.inputs[0].size(), 1U);
    const AIBuff& input = engine.inputs[0].at("image");
    EXPECT_EQ(input.type, 2);
    EXPECT_EQ(input.zp, 0);
    EXPECT_EQ(input.scale, 0.0F);
    const std::vector<float> values = floatsOf(input);
    ASSERT_EQ(values.size(), 3U * 64U * 32U);
    const float scale = 0.003921569F;
    for (int plane = 0; plane < 3; ++plane) {
        for (int row = 0; row < 32; ++row) {
            for (int column = 0; column < 64; ++column) {
                const auto index = static_cast<std::size_t>((plane * 32 + row) * 64 + column);
                const float expected =
                    static_cast<float>(image.at<cv::Vec3b>(row, column)[2 - plane]) * scale;
                ASSERT_EQ(values[index], expected) << plane << ' ' << row << ' ' << column;
            }
        }
    }
}

TEST(YOLOv5Detect, OutputComesAsZeroBytesOfTheRegisteredSize) {
    FakeEngine& engine = FakeEngine::reset();
    YOLOv5 model("net", "RKNN", {64, 32}, 0.3F, 0.6F, 2);
    std::vector<Object> objects;
    model.detect(noisePicture(10, 10), objects);
    ASSERT_EQ(engine.preparedOutputs.size(), 1U);
    ASSERT_EQ(engine.preparedOutputs[0].size(), 1U);
    const AIBuff& output = engine.preparedOutputs[0].at("output0");
    EXPECT_EQ(output.data->size(), 7U * 3U * (8 * 4 + 4 * 2 + 2 * 1) * 4U);
    EXPECT_EQ(floatsOf(output), std::vector<float>(output.data->size() / 4, 0.0F));
    EXPECT_EQ(output.type, 2);
}

TEST(YOLOv5Detect, ObjectsAreInSourcePixels) {
    FakeEngine& engine = FakeEngine::reset();
    engine.inference = [](TensorMap&, TensorMap& outputs) {
        writeRow(outputs.at("output0"), 5, {32, 32, 16, 8, 0.9F, 0.1F, 0.8F});
        return 0;
    };
    YOLOv5 model("net", "TensorRT", {64, 64}, 0.25F, 0.65F, 2);
    std::vector<Object> objects(3);
    const std::string output = standardOutputOf([&] { model.detect(noisePicture(128, 64), objects); });
    EXPECT_EQ(output, "dw: 0, dh: 16, ratio: 2\n");
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].rect, cv::Rect_<float>(48, 24, 32, 16));
    EXPECT_EQ(objects[0].label, 1);
    EXPECT_EQ(objects[0].prob, 0.9F * 0.8F);
    EXPECT_TRUE(objects[0].mask.empty());
    EXPECT_EQ(model.letterbox_info.src_width, 128.0F);
}

TEST(YOLOv5Detect, ImageOfTheInputSizeHasNoPadding) {
    FakeEngine::reset();
    YOLOv5 model("net", "TensorRT", {64, 64}, 0.25F, 0.65F, 2);
    std::vector<Object> objects;
    EXPECT_EQ(standardOutputOf([&] { model.detect(noisePicture(64, 64), objects); }),
              "dw: 0, dh: 0, ratio: 1\n");
}

TEST(YOLOv5Detect, ReplacedBuffersAreDecoded) {
    FakeEngine& engine = FakeEngine::reset();
    engine.inference = [](TensorMap&, TensorMap& outputs) {
        outputs["output0"] = brellix::testing::floatTensor({32, 32, 16, 8, 0.9F, 0.8F});
        return 0;
    };
    YOLOv5 model("net", "TensorRT", {64, 64}, 0.25F, 0.65F, 1);
    std::vector<Object> objects;
    model.detect(noisePicture(64, 64), objects);
    EXPECT_EQ(objects.size(), 1U);
}

TEST(YOLOv5Detect, FailedInferenceIsReportedAndDecodedAsItStands) {
    FakeEngine& engine = FakeEngine::reset();
    engine.inference = [](TensorMap&, TensorMap& outputs) {
        writeRow(outputs.at("output0"), 5, {32, 32, 16, 8, 0.9F, 0.8F});
        return 9;
    };
    YOLOv5 model("net", "TensorRT", {64, 64}, 0.25F, 0.65F, 1);
    std::vector<Object> objects;
    model.detect(noisePicture(64, 64), objects);
    EXPECT_EQ(objects.size(), 1U);
    EXPECT_EQ(last_run_report().inference_status, 9);
    engine.inference = nullptr;
    model.detect(noisePicture(64, 64), objects);
    EXPECT_TRUE(objects.empty());
    EXPECT_EQ(last_run_report().inference_status, 0);
}

TEST(YOLOv5Detect, EngineMayDropTheOutput) {
    FakeEngine& engine = FakeEngine::reset();
    engine.inference = [](TensorMap&, TensorMap& outputs) {
        outputs.clear();
        return 0;
    };
    YOLOv5 model("net", "TensorRT", {64, 64}, -1.0F, 0.65F, 1);
    std::vector<Object> objects(1);
    model.detect(noisePicture(64, 64), objects);
    EXPECT_TRUE(objects.empty());
}

TEST(YOLOv5Detect, EmptyImageRaisesOpenCvsExceptionAndKeepsTheModelUsable) {
    FakeEngine::reset();
    YOLOv5 model("net", "TensorRT", {64, 64}, 0.25F, 0.65F, 1);
    std::vector<Object> objects;
    EXPECT_THROW(model.detect(cv::Mat(), objects), cv::Exception);
    EXPECT_NO_THROW(model.detect(noisePicture(10, 10), objects));
}

TEST(YOLOv5Detect, LetterboxRecordIsThatOfAPictureThatNoTensorIsMadeOf) {
    FakeEngine::reset();
    YOLOv5 model("net", "RKNN", {64, 64}, 0.3F, 0.6F, 2);
    std::vector<Object> objects;
    EXPECT_THROW(model.detect(cv::Mat(64, 128, CV_16UC3, cv::Scalar::all(9)), objects), cv::Exception);
    EXPECT_EQ(model.letterbox_info.ratio, 2.0F);
    EXPECT_EQ(model.letterbox_info.dh, 16.0F);
    EXPECT_EQ(model.letterbox_info.src_width, 128.0F);
}

TEST(YOLOv5Detect, NegativeOutputSizeIsALengthError) {
    FakeEngine::reset();
    YOLOv5 model("net", "TensorRT", {64, 64}, 0.25F, 0.65F, -6);
    std::vector<Object> objects;
    EXPECT_THROW(model.detect(noisePicture(10, 10), objects), std::length_error);
}

/// A model whose decoding is replaced, as applications do.
class CountingModel : public YOLOv5 {
  public:
    using YOLOv5::YOLOv5;
    void postprocess(TensorMap& outputs, std::vector<Object>& objects) override {
        outputNames = outputs.size();
        objects.assign(2, Object());
    }
    std::size_t outputNames = 0;
};

TEST(YOLOv5Detect, CallsPostprocessThroughTheVirtualTable) {
    FakeEngine::reset();
    CountingModel model("net", "TensorRT", cv::Size(64, 64), 0.25F, 0.65F, 1);
    std::vector<Object> objects;
    static_cast<CvModel&>(model).detect(noisePicture(10, 10), objects);
    EXPECT_EQ(model.outputNames, 1U);
    EXPECT_EQ(objects.size(), 2U);
}

void takeTwoMilliseconds() {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
}

class SlowModel : public YOLOv5 {
  public:
    using YOLOv5::YOLOv5;
    void postprocess(TensorMap&, std::vector<Object>&) override { takeTwoMilliseconds(); }
};

TEST(YOLOv5Detect, TimesOfAllStagesAreReported) {
    FakeEngine::reset().inference = [](TensorMap&, TensorMap&) {
        takeTwoMilliseconds();
        return 0;
    };
    SlowModel model("net", "TensorRT", cv::Size(64, 64), 0.25F, 0.65F, 1);
    std::vector<Object> objects;
    model.detect(noisePicture(500, 500), objects);
    const RunReport report = last_run_report();
    EXPECT_GT(report.pre_ms, 0.0);
    // The stages are timed by the clock of the day, which may be set forward or back meanwhile.
    EXPECT_GE(report.infer_ms, 1.5);
    EXPECT_GE(report.post_ms, 1.5);
}

}  // namespace
