#include "brellix/run_report.h"
#include "brellix/yolov5.h"
#include "support/capture_stdout.h"
#include "support/fake_engine.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <limits>
#include <memory>
#include <streambuf>

namespace {

using namespace ai_orvo::model;
using brellix::testing::FakeEngine;
using brellix::testing::standardOutputOf;

using SizeTable = std::map<std::string, int>;

TEST(YOLOv5Construction, FillsTheEngineConfiguration) {
    FakeEngine& engine = FakeEngine::reset();
    const YOLOv5 model("net.engine", "TensorRT", {640, 640}, 0.3F, 0.6F, 80);
    ASSERT_EQ(engine.initialised.size(), 1U);
    const AIEngineConfig& config = engine.initialised[0];
    EXPECT_EQ(config.model_path, "net.engine");
    EXPECT_EQ(config.input_sizes, (SizeTable{{"image", 3 * 640 * 640}}));
    EXPECT_EQ(config.output_sizes, (SizeTable{{"output0", 85 * 25200}}));
    EXPECT_EQ(config.engine_param, 3000);
    EXPECT_TRUE(config.input_shapes.empty());
    EXPECT_TRUE(config.output_shapes.empty());
    EXPECT_TRUE(config.aux_inputs.empty());
    EXPECT_TRUE(config.aux_outputs.empty());
    EXPECT_TRUE(config.input_types.empty());
    EXPECT_TRUE(config.output_types.empty());
    EXPECT_EQ(model.num_candidates, 25200);
}

TEST(YOLOv5Construction, KeepsItsSettings) {
    FakeEngine::reset();
    const YOLOv5 model("net", "RKNN", {320, 192}, 2.0F, -0.5F, 3);
    EXPECT_EQ(model.input_size, cv::Size(320, 192));
    EXPECT_EQ(model.conf_thres, 2.0F);
    EXPECT_EQ(model.nms_thres, -0.5F);
    EXPECT_EQ(model.class_num, 3);
    EXPECT_EQ(model.strides[0], 8);
    EXPECT_EQ(model.strides[1], 16);
    EXPECT_EQ(model.strides[2], 32);
    EXPECT_EQ(model.letterbox_info.ratio, 1.0F);
    EXPECT_EQ(model.letterbox_info.dw, 0.0F);
    EXPECT_EQ(model.letterbox_info.dh, 0.0F);
    EXPECT_EQ(model.letterbox_info.src_height, 0.0F);
    EXPECT_EQ(model.letterbox_info.src_width, 0.0F);
    EXPECT_EQ(model.num_candidates, 3 * (40 * 24 + 20 * 12 + 10 * 6));
}

TEST(YOLOv5Construction, BackEndNamesSetCodeAndFlag) {
    FakeEngine& engine = FakeEngine::reset();
    const YOLOv5 tensorRt("net", "TensorRT", {64, 64}, 0.3F, 0.6F, 1);
    const YOLOv5 rknn("net", "RKNN", {64, 64}, 0.3F, 0.6F, 1);
    ASSERT_EQ(engine.initialised.size(), 2U);
    EXPECT_EQ(engine.initialised[0].framework, 1);
    EXPECT_FALSE(engine.initialised[0].rknn_flag);
    EXPECT_EQ(engine.initialised[1].framework, 2);
    EXPECT_TRUE(engine.initialised[1].rknn_flag);
}

TEST(YOLOv5Construction, StridesDivideEachSideOnItsOwn) {
    FakeEngine::reset();
    const YOLOv5 model("net", "RKNN", {100, 70}, 0.3F, 0.6F, 1);
    EXPECT_EQ(model.num_candidates, 3 * (12 * 8 + 6 * 4 + 3 * 2));
}

TEST(YOLOv5Construction, SizesBeyondIntWrapTo32Bits) {
    FakeEngine& engine = FakeEngine::reset();
    const int most = std::numeric_limits<int>::max();
    const YOLOv5 model("net", "RKNN", {65536, 65536}, 0.3F, 0.6F, most);
    // Cells 2^26 + 2^24 + 2^22, three anchors each; 3 * 2^32 has no low bits.
    const long candidates = 3L * ((1L << 26) + (1L << 24) + (1L << 22));
    EXPECT_EQ(model.num_candidates, candidates);
    EXPECT_EQ(engine.initialised[0].input_sizes, (SizeTable{{"image", 0}}));
    const auto wrapped = static_cast<int>(static_cast<unsigned>(((1L << 31) + 4) * candidates));
    EXPECT_EQ(engine.initialised[0].output_sizes, (SizeTable{{"output0", wrapped}}));
}

TEST(YOLOv5Construction, EngineRefusalIsOnlyReported) {
    FakeEngine::reset().initStatus = 7;
    EXPECT_NO_THROW(YOLOv5("net", "RKNN", {64, 64}, 0.3F, 0.6F, 1));
    EXPECT_EQ(last_run_report().init_status, 7);
    FakeEngine::reset();
    const YOLOv5 model("net", "RKNN", {64, 64}, 0.3F, 0.6F, 1);
    EXPECT_EQ(last_run_report().init_status, 0);
}

TEST(YOLOv5Construction, DestructorSaysSo) {
    FakeEngine::reset();
    EXPECT_EQ(standardOutputOf([] {
                  const YOLOv5 model("net", "RKNN", {64, 64}, 0.3F, 0.6F, 1);
              }),
              "Destruct yolov5\n");
}

TEST(YOLOv5Construction, DestructorOutlivesAnOutputThatThrows) {
    struct Refusing : std::streambuf {
    } refusing;
    FakeEngine::reset();
    auto model = std::make_unique<YOLOv5>("net", "RKNN", cv::Size(64, 64), 0.3F, 0.6F, 1);
    std::streambuf* const before = std::cout.rdbuf(&refusing);
    std::cout.exceptions(std::ios::badbit | std::ios::failbit);
    model.reset();
    EXPECT_TRUE(std::cout.bad());
    std::cout.exceptions(std::ios::goodbit);
    std::cout.rdbuf(before);
}

class YOLOv5UnknownFramework : public ::testing::TestWithParam<const char*> {};

TEST_P(YOLOv5UnknownFramework, EndsTheProcessWithStatusZero) {
    const std::string framework = GetParam();
    const auto construct = [&] {
        // The death test watches standard error; what went to standard output is moved there.
        dup2(2, 1);
        const YOLOv5 model("net", framework, {64, 64}, 0.3F, 0.6F, 1);
        std::abort();
    };
    EXPECT_EXIT(construct(), ::testing::ExitedWithCode(0), "^Framework " + framework + " not implemented\n$");
}

INSTANTIATE_TEST_SUITE_P(Names, YOLOv5UnknownFramework,
                         ::testing::Values("ONNX", "tensorrt", "rknn", "", "TensorRT "));

}  // namespace
