#include "brellix/run_report.h"
#include "brellix/yolov5_cutoff.h"
#include "support/capture_stdout.h"
#include "support/fake_engine.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <yaml-cpp/yaml.h>

#include <cstdlib>

namespace {

using namespace ai_orvo::model;
using brellix::testing::FakeEngine;
using brellix::testing::standardOutputOf;
using brellix::testing::TemporaryFolder;

using SizeTable = std::map<std::string, int>;

constexpr const char* kConfig =
    "model_path: net.rknn\nconf_thres: 0.5\nnms_thres: 0.45\nclass_num: 6\ninput_size: [320, 192]\n";

SizeTable headSizes(int cells0, int cells1, int cells2, int channels) {
    return {{"/model.24/m.0/Conv_output_0", cells0 * channels * 3},
            {"/model.24/m.1/Conv_output_0", cells1 * channels * 3},
            {"/model.24/m.2/Conv_output_0", cells2 * channels * 3}};
}

TEST(YOLOv5CutoffConstruction, FillsTheEngineConfigurationFromParameters) {
    FakeEngine& engine = FakeEngine::reset();
    const YOLOv5Cutoff model("net", "TensorRT", {640, 640}, 0.3F, 0.6F, 80);
    ASSERT_EQ(engine.initialised.size(), 1U);
    const AIEngineConfig& config = engine.initialised[0];
    EXPECT_EQ(config.model_path, "net");
    EXPECT_EQ(config.framework, 1);
    EXPECT_FALSE(config.rknn_flag);
    EXPECT_EQ(config.input_sizes, (SizeTable{{"images", 640 * 640 * 3}}));
    EXPECT_EQ(config.output_sizes, headSizes(80 * 80, 40 * 40, 20 * 20, 85));
    EXPECT_TRUE(config.input_types.empty());
    EXPECT_TRUE(config.output_shapes.empty());
    EXPECT_EQ(model.channels_per_anchor, 85);
}

TEST(YOLOv5CutoffConstruction, RknnClearsTheFlag) {
    FakeEngine& engine = FakeEngine::reset();
    const YOLOv5Cutoff model("net", "RKNN", {64, 64}, 0.3F, 0.6F, 2);
    EXPECT_EQ(engine.initialised.at(0).framework, 2);
    EXPECT_FALSE(engine.initialised.at(0).rknn_flag);
    EXPECT_EQ(model.conf_thres, 0.3F);
    EXPECT_EQ(model.nms_thres, 0.6F);
    EXPECT_EQ(model.class_num, 2);
    EXPECT_EQ(model.channels_per_anchor, 7);
}

TEST(YOLOv5CutoffConstruction, FileGivesAnRknnModel) {
    FakeEngine& engine = FakeEngine::reset();
    const TemporaryFolder folder;
    const YOLOv5Cutoff model(folder.write("m.yaml", kConfig));
    ASSERT_EQ(engine.initialised.size(), 1U);
    const AIEngineConfig& config = engine.initialised[0];
    EXPECT_EQ(config.model_path, "net.rknn");
    EXPECT_EQ(config.framework, 2);
    EXPECT_FALSE(config.rknn_flag);
    EXPECT_EQ(config.input_sizes, (SizeTable{{"images", 320 * 192 * 3}}));
    EXPECT_EQ(config.output_sizes, headSizes(40 * 24, 20 * 12, 10 * 6, 11));
    EXPECT_EQ(model.conf_thres, 0.5F);
    EXPECT_EQ(model.nms_thres, 0.45F);
    EXPECT_EQ(model.input_size, cv::Size(320, 192));
    EXPECT_EQ(model.channels_per_anchor, 11);
}

TEST(YOLOv5CutoffConstruction, AnchorsAreFixed) {
    FakeEngine::reset();
    const YOLOv5Cutoff model("net", "RKNN", {64, 64}, 0.3F, 0.6F, 2);
    const int expected[3][3][2] = {
        {{10, 13}, {16, 30}, {33, 23}}, {{30, 61}, {62, 45}, {59, 119}}, {{116, 90}, {156, 198}, {373, 326}}};
    for (int head = 0; head < 3; ++head) {
        for (int anchor = 0; anchor < 3; ++anchor) {
            EXPECT_EQ(model.anchors[head][anchor][0], expected[head][anchor][0]);
            EXPECT_EQ(model.anchors[head][anchor][1], expected[head][anchor][1]);
        }
    }
}

TEST(YOLOv5CutoffConstruction, FileFaultsLeaveTheConstructorQuietly) {
    FakeEngine& engine = FakeEngine::reset();
    const TemporaryFolder folder;
    const std::string path = folder.write("m.yaml", "model_path: a\nconf_thres: 1\n");
    EXPECT_EQ(standardOutputOf([&] { EXPECT_THROW(YOLOv5Cutoff model(path), YAML::InvalidNode); }), "");
    EXPECT_THROW(YOLOv5Cutoff("/no/such/file.yaml"), YAML::BadFile);
    EXPECT_TRUE(engine.initialised.empty());
}

TEST(YOLOv5CutoffConstruction, LivesAndDiesSilently) {
    FakeEngine::reset().initStatus = 4;
    EXPECT_EQ(standardOutputOf([] { const YOLOv5Cutoff model("net", "RKNN", {64, 64}, 0.3F, 0.6F, 2); }), "");
    EXPECT_EQ(last_run_report().init_status, 4);
}

TEST(YOLOv5CutoffConstruction, UnknownFrameworkEndsTheProcessWithStatusZero) {
    for (const std::string framework : {"ONNX", "rknn", ""}) {
        const auto construct = [&] {
            dup2(2, 1);
            const YOLOv5Cutoff model("net", framework, {64, 64}, 0.3F, 0.6F, 1);
            std::abort();
        };
        EXPECT_EXIT(construct(), ::testing::ExitedWithCode(0),
                    "^Framework " + framework + " not implemented\n$");
    }
}

}  // namespace
