#include "brellix/logger.h"
#include "brellix/run_report.h"
#include "brellix/yolov8_seg.h"
#include "support/capture_stdout.h"
#include "support/fake_engine.h"
#include "support/images.h"
#include "support/tensor_values.h"
#include "yolov8_seg/seg_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>

#include <cstring>
#include <memory>
#include <opencv2/core.hpp>
#include <sstream>

namespace {

using namespace ai_orvo::model;
using brellix::testing::FakeEngine;
using brellix::testing::noisePicture;
using brellix::testing::placeObject;
using brellix::testing::segConfigText;
using brellix::testing::standardOutputOf;
using ::testing::MatchesRegex;

/// What the engine is handed for one picture of 64 x 64.
std::pair<AIBuff, TensorMap> handedOver(const std::string& framework, bool quantized) {
    FakeEngine& engine = FakeEngine::reset();
    YOLOv8Seg model(YAML::Load(segConfigText(framework, quantized)));
    std::vector<Object> objects;
    model.detect(noisePicture(64, 64), objects);
    return {engine.inputs.at(0).at("images"), engine.preparedOutputs.at(0)};
}

TEST(YOLOv8SegDetect, FloatBackEndsReceiveThePlanarBgrImage) {
    for (const std::string framework : {"ONNX", "TensorRT"}) {
        const AIBuff input = handedOver(framework, false).first;
        EXPECT_EQ(input.type, 2);
        EXPECT_EQ(input.scale, 0.0F);
        const auto values = brellix::testing::floatsOf(input);
        ASSERT_EQ(values.size(), 3U * 64U * 64U);
        const cv::Mat image = noisePicture(64, 64);
        for (int plane = 0; plane < 3; ++plane) {
            const auto index = static_cast<std::size_t>((plane * 64 + 10) * 64 + 20);
            EXPECT_EQ(values[index], static_cast<float>(image.at<cv::Vec3b>(10, 20)[plane]) * 0.003921569F);
        }
    }
}

TEST(YOLOv8SegDetect, RknnReceivesTheBytes) {
    const AIBuff input = handedOver("RKNN", true).first;
    EXPECT_EQ(input.type, 0);
    EXPECT_EQ(input.zp, 0);
    EXPECT_EQ(input.scale, 1.0F);
    const cv::Mat image = noisePicture(64, 64);
    ASSERT_EQ(input.data->size(), image.total() * 3);
    EXPECT_EQ(std::memcmp(input.data->data(), image.data, input.data->size()), 0);
}

TEST(YOLOv8SegDetect, BackEndAndQuantisationAreChosenIndependently) {
    const auto floatRknn = handedOver("RKNN", false);
    EXPECT_EQ(floatRknn.first.data->size(), 3U * 64U * 64U);
    EXPECT_EQ(floatRknn.first.type, 2);
    EXPECT_EQ(floatRknn.second.at("output0").data->size(), 64U * 64U * 4U);
    const auto quantisedOnnx = handedOver("ONNX", true);
    EXPECT_EQ(quantisedOnnx.first.data->size(), 3U * 64U * 64U * 4U);
    EXPECT_EQ(quantisedOnnx.first.type, 0);
    EXPECT_EQ(quantisedOnnx.first.scale, 1.0F);
    EXPECT_EQ(quantisedOnnx.second.at("output0").data->size(), 64U * 64U);
}

TEST(YOLOv8SegDetect, TenOutputsAreSizedFromTheTable) {
    const TensorMap outputs = handedOver("ONNX", false).second;
    EXPECT_EQ(outputs.size(), 10U);
    EXPECT_EQ(outputs.at("output1").data->size(), 2U * 64U * 4U);
    EXPECT_EQ(outputs.at("output5").data->size(), 32U * 16U * 4U);
    EXPECT_EQ(outputs.at("proto").data->size(), 32U * 16U * 16U * 4U);
    EXPECT_EQ(outputs.at("proto").type, 2);
}

TEST(YOLOv8SegDetect, APictureOfTheInputsSizeIsLetterboxedToo) {
    FakeEngine::reset();
    YOLOv8Seg model(YAML::Load(segConfigText()));
    model.letterboxInfo = {9.0F, 9.0F, 9.0F, 9.0F, 9.0F};
    std::vector<Object> objects;
    model.detect(noisePicture(64, 64), objects);
    EXPECT_EQ(model.letterboxInfo.ratio, 1.0F);
    EXPECT_EQ(model.letterboxInfo.dw, 0.0F);
    EXPECT_EQ(model.letterboxInfo.dh, 0.0F);
    EXPECT_EQ(model.letterboxInfo.src_height, 64.0F);
    EXPECT_EQ(model.letterboxInfo.src_width, 64.0F);
}

TEST(YOLOv8SegDetect, ThreeDurationsAreLoggedWithoutDetections) {
    // What the logger says of its environment when it is first used is none of the three lines.
    standardOutputOf([] { brellix::Logger::Instance("spdlog"); });
    FakeEngine::reset();
    YOLOv8Seg model(YAML::Load(segConfigText()));
    std::vector<Object> objects;
    const std::string output = standardOutputOf([&] { model.detect(noisePicture(64, 64), objects); });
    EXPECT_TRUE(objects.empty());
    // Milliseconds in whole microseconds.
    const std::string number = R"([ 0-9]{2}[0-9] \[INFO\] )";
    const std::string duration = R"([0-9]+(\.[0-9]{1,3})?\(ms\))"
                                 "\n";
    EXPECT_THAT(output, MatchesRegex(number + "YOLOv8-seg Preprocess runtime = " + duration + number +
                                     "YOLOv8-seg Inference runtime = " + duration + number +
                                     "YOLOv8-seg postprocess runtime = " + duration));
}

TEST(YOLOv8SegDetect, LogLinesNameTheLibrarysSourceAndFunction) {
    FakeEngine::reset();
    YOLOv8Seg model(YAML::Load(segConfigText()));
    std::ostringstream lines;
    auto& sinks = brellix::Logger::Instance("spdlog").logger_->sinks();
    sinks.push_back(std::make_shared<spdlog::sinks::ostream_sink_mt>(lines));
    sinks.back()->set_pattern("%g|%!|%l");
    std::vector<Object> objects;
    model.detect(noisePicture(64, 64), objects);
    sinks.pop_back();
    const std::string line = "src/yolov8_seg/yolov8_seg.cpp|detect|info\n";
    EXPECT_EQ(lines.str(), line + line + line);
}

TEST(YOLOv8SegDetect, FailedInferenceIsReportedAndDecodedAsItStands) {
    FakeEngine::reset().inference = [](TensorMap&, TensorMap& outputs) {
        placeObject(outputs, 0, 3, 4, 1, 4.0F, 1, 1.0F);
        return 8;
    };
    YOLOv8Seg model(YAML::Load(segConfigText()));
    std::vector<Object> objects;
    model.detect(noisePicture(64, 64), objects);
    EXPECT_EQ(objects.size(), 1U);
    EXPECT_EQ(last_run_report().inference_status, 8);
}

TEST(YOLOv8SegDetect, EngineMayDropAnOutput) {
    FakeEngine::reset().inference = [](TensorMap&, TensorMap& outputs) {
        placeObject(outputs, 0, 3, 4, 1, 4.0F, 1, 1.0F);
        placeObject(outputs, 1, 3, 2, 0, 4.0F, 1, 1.0F);
        outputs.erase("output4");
        return 0;
    };
    YOLOv8Seg model(YAML::Load(segConfigText()));
    std::vector<Object> objects;
    model.detect(noisePicture(30, 64), objects);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].label, 1);
    EXPECT_EQ(model.letterboxInfo.dw, 17.0F);
}

TEST(YOLOv8SegDetect, LetterboxRecordIsThatOfAPictureThatNoTensorIsMadeOf) {
    FakeEngine::reset();
    YOLOv8Seg model(YAML::Load(segConfigText("ONNX", false)));
    std::vector<Object> objects;
    EXPECT_THROW(model.detect(cv::Mat(128, 64, CV_16UC3, cv::Scalar::all(9)), objects), cv::Exception);
    EXPECT_EQ(model.letterboxInfo.ratio, 2.0F);
    EXPECT_EQ(model.letterboxInfo.dw, 16.0F);
    EXPECT_EQ(model.letterboxInfo.src_height, 128.0F);
}

/// A model whose decoding is replaced, as applications do.
class CountingModel : public YOLOv8Seg {
  public:
    using YOLOv8Seg::YOLOv8Seg;
    void postprocess(TensorMap& outputs, std::vector<Object>& objects) override {
        outputNames = outputs.size();
        objects.assign(2, Object());
    }
    std::size_t outputNames = 0;
};

TEST(YOLOv8SegDetect, CallsPostprocessThroughTheVirtualTable) {
    FakeEngine::reset();
    CountingModel model(YAML::Load(segConfigText()));
    std::vector<Object> objects;
    static_cast<CvModel&>(model).detect(noisePicture(10, 10), objects);
    EXPECT_EQ(model.outputNames, 10U);
    EXPECT_EQ(objects.size(), 2U);
}

TEST(YOLOv8SegDetect, EmptyImageRaisesOpenCvsException) {
    FakeEngine::reset();
    YOLOv8Seg model(YAML::Load(segConfigText()));
    std::vector<Object> objects;
    EXPECT_THROW(model.detect(cv::Mat(), objects), cv::Exception);
}

}  // namespace
