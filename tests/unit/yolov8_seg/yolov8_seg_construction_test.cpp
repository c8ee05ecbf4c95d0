#include "brellix/run_report.h"
#include "brellix/yolov8_seg.h"
#include "models/refused_config.h"
#include "support/capture_stdout.h"
#include "support/fake_engine.h"
#include "support/temporary_folder.h"
#include "yolov8_seg/seg_fixture.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace {

using namespace ai_orvo::model;
using brellix::testing::FakeEngine;
using brellix::testing::segConfigText;
using brellix::testing::standardOutputOf;
using brellix::testing::TemporaryFolder;

using SizeTable = std::map<std::string, int>;
using Shape = std::vector<std::int64_t>;

std::string withLine(const std::string& key, const std::string& line) {
    return brellix::testing::withLine(segConfigText(), key, line);
}

const AIEngineConfig& configOf(const std::string& text) {
    FakeEngine& engine = FakeEngine::reset();
    const YOLOv8Seg model(YAML::Load(text));
    EXPECT_EQ(engine.initialised.size(), 1U);
    return engine.initialised.at(0);
}

template <typename Exception>
std::string refusal(const std::string& text) {
    return brellix::testing::refusalOf<Exception>(
        text, [](const std::string& config) { const YOLOv8Seg model(YAML::Load(config)); });
}

TEST(YOLOv8SegConstruction, FieldsComeFromTheDocument) {
    FakeEngine::reset();
    const YOLOv8Seg model(YAML::Load(withLine("input_size", "input_size: [640, 480]")));
    EXPECT_EQ(model.inputSize, cv::Size(640, 480));
    EXPECT_EQ(model.protoWidth, 160);
    EXPECT_EQ(model.protoHeight, 120);
    EXPECT_EQ(model.confThreshold, 0.5F);
    EXPECT_EQ(model.nmsThreshold, 0.5F);
    EXPECT_EQ(model.classNum, 2);
    EXPECT_FALSE(model.isQuantized);
    EXPECT_EQ(model.maskCoefCount, 32);
    EXPECT_EQ(model.maxDetections, 100);
    EXPECT_EQ(model.strides[0], 8);
    EXPECT_EQ(model.strides[1], 16);
    EXPECT_EQ(model.strides[2], 32);
    EXPECT_EQ(model.letterboxInfo.ratio, 1.0F);
    EXPECT_EQ(model.letterboxInfo.src_width, 0.0F);
    EXPECT_TRUE(model.spareLists.empty());
}

TEST(YOLOv8SegConstruction, TablesOfElementCountsAndShapes) {
    const AIEngineConfig config = configOf(withLine("input_size", "input_size: [640, 480]"));
    EXPECT_EQ(config.model_path, "net.onnx");
    EXPECT_EQ(config.input_sizes, (SizeTable{{"images", 3 * 640 * 480}}));
    EXPECT_EQ(config.input_shapes.at("images"), (Shape{1, 3, 480, 640}));
    const std::pair<int, int> grids[] = {{80, 60}, {40, 30}, {20, 15}};
    const int channels[] = {64, 2, 32};
    for (int head = 0; head < 3; ++head) {
        for (int kind = 0; kind < 3; ++kind) {
            const std::string name = "output" + std::to_string(3 * head + kind);
            EXPECT_EQ(config.output_sizes.at(name), channels[kind] * grids[head].first * grids[head].second)
                << name;
            EXPECT_EQ(config.output_shapes.at(name),
                      (Shape{1, channels[kind], grids[head].second, grids[head].first}))
                << name;
        }
    }
    EXPECT_EQ(config.output_sizes.at("proto"), 32 * 160 * 120);
    EXPECT_EQ(config.output_shapes.at("proto"), (Shape{1, 32, 120, 160}));
    EXPECT_EQ(config.output_sizes.size(), 10U);
    EXPECT_TRUE(config.aux_inputs.empty());
    EXPECT_TRUE(config.aux_outputs.empty());
    EXPECT_EQ(config.engine_param, 3000);
}

TEST(YOLOv8SegConstruction, EveryDivisionTruncatesOnItsOwn) {
    const AIEngineConfig config = configOf(withLine("input_size", "input_size: [642, 642]"));
    EXPECT_EQ(config.output_shapes.at("output6"), (Shape{1, 64, 20, 20}));
    EXPECT_EQ(config.output_shapes.at("proto"), (Shape{1, 32, 160, 160}));
}

TEST(YOLOv8SegConstruction, TypesFollowTheQuantisationFlag) {
    for (const bool quantized : {false, true}) {
        const AIEngineConfig config = configOf(segConfigText("ONNX", quantized));
        const int type = quantized ? 0 : 2;
        EXPECT_EQ(config.input_types, (SizeTable{{"images", type}}));
        EXPECT_EQ(config.output_types.size(), 10U);
        for (const auto& [name, found] : config.output_types) {
            EXPECT_EQ(found, type) << name;
        }
    }
}

TEST(YOLOv8SegConstruction, BackEndNamesSetTheCodeAndNeverTheFlag) {
    const std::pair<const char*, int> codes[] = {{"TensorRT", 1}, {"RKNN", 2}, {"ONNX", 3}};
    for (const auto& [name, code] : codes) {
        const AIEngineConfig config = configOf(segConfigText(name));
        EXPECT_EQ(config.framework, code);
        EXPECT_FALSE(config.rknn_flag);
    }
}

TEST(YOLOv8SegConstruction, ExtremeSizesStayDefined) {
    for (const std::string line : {"input_size: [0, 0]", "input_size: [-640, 640]", "input_size: [7, 5]",
                                   "input_size: [2147483647, 2147483647]"}) {
        EXPECT_EQ(configOf(withLine("input_size", line)).output_sizes.size(), 10U);
    }
    EXPECT_EQ(configOf(withLine("input_size", "input_size: [-640, 640]")).output_shapes.at("output0"),
              (Shape{1, 64, 80, -80}));
}

TEST(YOLOv8SegConstruction, BooleansAreThoseOfYaml) {
    for (const std::string text : {"true", "yes", "on", "TRUE", "Y"}) {
        EXPECT_EQ(configOf(withLine("is_quantized", "is_quantized: " + text)).input_types.at("images"), 0)
            << text;
    }
    for (const std::string text : {"1", "0", "word", "~", "[true]"}) {
        EXPECT_NE(refusal<YAML::BadConversion>(withLine("is_quantized", "is_quantized: " + text))
                      .find("bad conversion"),
                  std::string::npos)
            << text;
    }
}

TEST(YOLOv8SegConstruction, EveryKeyIsRequiredAndNamedWhenMissing) {
    for (const std::string key :
         {"model_path", "framework", "class_num", "conf_thres", "nms_thres", "input_size", "is_quantized"}) {
        EXPECT_EQ(refusal<YAML::InvalidNode>(withLine(key, "")),
                  "invalid node; first invalid key: \"" + key + "\"");
    }
}

TEST(YOLOv8SegConstruction, AllKeysAreReadBeforeAnythingIsJudged) {
    // The framework is unknown and the size too short, but the missing last key is what is reported.
    EXPECT_EQ(refusal<YAML::InvalidNode>("model_path: a\nframework: nonsense\nclass_num: 1\nconf_thres: 1\n"
                                         "nms_thres: 1\ninput_size: [1]\n"),
              "invalid node; first invalid key: \"is_quantized\"");
    EXPECT_EQ(refusal<std::out_of_range>("model_path: a\nframework: nonsense\nclass_num: 1\nconf_thres: 1\n"
                                         "nms_thres: 1\ninput_size: [1]\nis_quantized: on\n"),
              "vector::_M_range_check: __n (which is 1) >= this->size() (which is 1)");
}

TEST(YOLOv8SegConstruction, TheFirstFaultInReadingOrderIsReported) {
    EXPECT_EQ(refusal<YAML::InvalidNode>("model_path: a\nconf_thres: word\n"),
              "invalid node; first invalid key: \"framework\"");
}

TEST(YOLOv8SegConstruction, FilesAreLoadedFirst) {
    FakeEngine& engine = FakeEngine::reset();
    const TemporaryFolder folder;
    const YOLOv8Seg model(folder.write("m.yaml", segConfigText("RKNN", true)));
    EXPECT_TRUE(model.isQuantized);
    EXPECT_EQ(engine.initialised.at(0).framework, 2);
    EXPECT_EQ(standardOutputOf([] { EXPECT_THROW(YOLOv8Seg("/no/such.yaml"), YAML::BadFile); }), "");
}

TEST(YOLOv8SegConstruction, UnknownFrameworkEndsTheProcessWithStatusZero) {
    for (const std::string framework : {"onnx", "TRT", "rknn"}) {
        const auto construct = [&] {
            dup2(2, 1);
            const YOLOv8Seg model(YAML::Load(segConfigText(framework)));
            std::abort();
        };
        EXPECT_EXIT(construct(), ::testing::ExitedWithCode(0),
                    "^Framework " + framework + " not implemented\n$");
    }
}

TEST(YOLOv8SegConstruction, ARefusedNetworkIsLoggedAndEndsTheProcessWithStatusZero) {
    const auto construct = [] {
        dup2(2, 1);
        FakeEngine::reset().initStatus = 5;
        setenv("SPDLOG_STDOUT", "true", 1);
        setenv("SPDLOG_SYSTEMD", "false", 1);
        setenv("SPDLOG_LEVEL", "error", 1);
        const YOLOv8Seg model(YAML::Load(segConfigText()));
        std::abort();
    };
    // The message's number says how often this process has logged before.
    EXPECT_EXIT(construct(), ::testing::ExitedWithCode(0),
                "^[ 0-9]{3} \\[ERROR\\] Failed to init ai_engine, check config file\n$");
}

TEST(YOLOv8SegConstruction, LivesAndDiesSilently) {
    FakeEngine::reset();
    EXPECT_EQ(standardOutputOf([] { const YOLOv8Seg model(YAML::Load(segConfigText())); }), "");
    EXPECT_EQ(last_run_report().init_status, 0);
}

}  // namespace
