#include "brellix/yolov5.h"
#include "models/refused_config.h"
#include "support/capture_stdout.h"
#include "support/fake_engine.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <yaml-cpp/yaml.h>

#include <cmath>
#include <functional>
#include <stdexcept>

namespace {

using namespace ai_orvo::model;
using brellix::testing::FakeEngine;
using brellix::testing::standardOutputOf;
using brellix::testing::TemporaryFolder;
using ::testing::HasSubstr;

constexpr const char* kWhole =
    "model_path: some/net.onnx\n"
    "conf_thres: 0.375\n"
    "nms_thres: 0.5\n"
    "class_num: 6\n"
    "input_size: [320, 192]\n";

std::string withLine(const std::string& key, const std::string& line) {
    return brellix::testing::withLine(kWhole, key, line);
}

/// Constructs from a file with this text and hands the model to `look`.
void construct(
    const std::string& text, const std::function<void(const YOLOv5&)>& look = [](const YOLOv5&) {}) {
    const TemporaryFolder folder;
    const YOLOv5 model(folder.write("model.yaml", text));
    look(model);
}

template <typename Exception>
std::string refusal(const std::string& text) {
    return brellix::testing::refusalOf<Exception>(text, [](const std::string& config) { construct(config); });
}

TEST(YOLOv5Config, FileValuesReachModelAndEngine) {
    FakeEngine& engine = FakeEngine::reset();
    construct(kWhole, [](const YOLOv5& model) {
        EXPECT_EQ(model.conf_thres, 0.375F);
        EXPECT_EQ(model.nms_thres, 0.5F);
        EXPECT_EQ(model.class_num, 6);
        EXPECT_EQ(model.input_size, cv::Size(320, 192));
        EXPECT_EQ(model.num_candidates, 3 * (40 * 24 + 20 * 12 + 10 * 6));
    });
    ASSERT_EQ(engine.initialised.size(), 1U);
    const AIEngineConfig& config = engine.initialised[0];
    EXPECT_EQ(config.model_path, "some/net.onnx");
    EXPECT_EQ(config.framework, 0);
    EXPECT_FALSE(config.rknn_flag);
    EXPECT_EQ(config.engine_param, 3000);
    EXPECT_EQ(config.input_sizes.at("image"), 3 * 320 * 192);
    EXPECT_EQ(config.output_sizes.at("output0"), 11 * 3 * (40 * 24 + 20 * 12 + 10 * 6));
}

TEST(YOLOv5Config, EveryKeyIsRequiredAndNamedWhenMissing) {
    for (const std::string key : {"model_path", "conf_thres", "nms_thres", "class_num", "input_size"}) {
        EXPECT_EQ(refusal<YAML::InvalidNode>(withLine(key, "")),
                  "invalid node; first invalid key: \"" + key + "\"");
    }
}

TEST(YOLOv5Config, TheFirstMissingKeyInReadingOrderIsNamed) {
    EXPECT_EQ(refusal<YAML::InvalidNode>("input_size: [word]\nnms_thres: 0.5\n"),
              "invalid node; first invalid key: \"model_path\"");
    EXPECT_EQ(refusal<YAML::InvalidNode>("input_size: [word]\nmodel_path: a\nconf_thres: 1\nclass_num: x\n"),
              "invalid node; first invalid key: \"nms_thres\"");
}

TEST(YOLOv5Config, ValuesThatDoNotConvertAreBadConversions) {
    for (const std::string line :
         {"conf_thres: word", "conf_thres: ~", "conf_thres: [1]", "conf_thres: 0.5 x", "conf_thres: "}) {
        EXPECT_THAT(refusal<YAML::BadConversion>(withLine("conf_thres", line)), HasSubstr("bad conversion"))
            << line;
    }
    for (const std::string line : {"class_num: 1.5", "class_num: {a: 1}", "class_num: 99999999999"}) {
        EXPECT_THAT(refusal<YAML::BadConversion>(withLine("class_num", line)), HasSubstr("bad conversion"))
            << line;
    }
    EXPECT_THAT(refusal<YAML::BadConversion>(withLine("model_path", "model_path: {a: b}")),
                HasSubstr("bad conversion"));
}

TEST(YOLOv5Config, InputSizeConvertsAsAWhole) {
    for (const std::string line :
         {"input_size: [640, 480, word]", "input_size: 640", "input_size: [640, ~]"}) {
        EXPECT_THAT(refusal<YAML::BadConversion>(withLine("input_size", line)), HasSubstr("bad conversion"))
            << line;
    }
}

TEST(YOLOv5Config, InputSizeNeedsTwoElements) {
    EXPECT_EQ(refusal<std::out_of_range>(withLine("input_size", "input_size: [640]")),
              "vector::_M_range_check: __n (which is 1) >= this->size() (which is 1)");
    EXPECT_EQ(refusal<std::out_of_range>(withLine("input_size", "input_size: []")),
              "vector::_M_range_check: __n (which is 0) >= this->size() (which is 0)");
}

TEST(YOLOv5Config, ElementsPastTheSecondAreIgnored) {
    FakeEngine::reset();
    construct(withLine("input_size", "input_size: [64, 32, 7, 8]"),
              [](const YOLOv5& model) { EXPECT_EQ(model.input_size, cv::Size(64, 32)); });
}

TEST(YOLOv5Config, InputSizeNarrowsTo32Bits) {
    FakeEngine::reset();
    construct(withLine("input_size", "input_size: [4294967360, -4294967264]"),
              [](const YOLOv5& model) { EXPECT_EQ(model.input_size, cv::Size(64, 32)); });
}

TEST(YOLOv5Config, NumbersTakeTheSpellingsOfYaml) {
    FakeEngine::reset();
    construct(withLine("conf_thres", "conf_thres: .inf"),
              [](const YOLOv5& model) { EXPECT_TRUE(std::isinf(model.conf_thres)); });
    construct(withLine("nms_thres", "nms_thres: .NaN"),
              [](const YOLOv5& model) { EXPECT_TRUE(std::isnan(model.nms_thres)); });
    construct(withLine("class_num", "class_num: 0x10"),
              [](const YOLOv5& model) { EXPECT_EQ(model.class_num, 16); });
    construct(withLine("class_num", "class_num: 010"),
              [](const YOLOv5& model) { EXPECT_EQ(model.class_num, 8); });
    construct(withLine("conf_thres", "conf_thres: 2e0"),
              [](const YOLOv5& model) { EXPECT_EQ(model.conf_thres, 2.0F); });
}

TEST(YOLOv5Config, NullModelPathBecomesTheWordNull) {
    FakeEngine& engine = FakeEngine::reset();
    construct(withLine("model_path", "model_path: ~"));
    construct(withLine("model_path", "model_path:"));
    ASSERT_EQ(engine.initialised.size(), 2U);
    EXPECT_EQ(engine.initialised[0].model_path, "null");
    EXPECT_EQ(engine.initialised[1].model_path, "null");
}

TEST(YOLOv5Config, OtherKeysAreIgnored) {
    FakeEngine& engine = FakeEngine::reset();
    const auto expectSixClasses = [](const YOLOv5& model) { EXPECT_EQ(model.class_num, 6); };
    construct(kWhole, expectSixClasses);
    construct(std::string(kWhole) + "framework: nonsense\nclass_mapping: {0: a, word: b}\nx: [1]\n",
              expectSixClasses);
    ASSERT_EQ(engine.initialised.size(), 2U);
    const AIEngineConfig& plain = engine.initialised[0];
    const AIEngineConfig& withOthers = engine.initialised[1];
    EXPECT_EQ(withOthers.framework, plain.framework);
    EXPECT_EQ(withOthers.rknn_flag, plain.rknn_flag);
    EXPECT_EQ(withOthers.output_sizes, plain.output_sizes);
}

TEST(YOLOv5Config, EngineRefusalStillMakesAModel) {
    FakeEngine::reset().initStatus = 3;
    EXPECT_NO_THROW(construct(kWhole));
}

TEST(YOLOv5Config, MissingFileIsYamlsBadFile) {
    FakeEngine::reset();
    EXPECT_EQ(standardOutputOf([] { EXPECT_THROW(YOLOv5("/no/such/file.yaml"), YAML::BadFile); }), "");
}

TEST(YOLOv5Config, AFolderFailsWhileItIsRead) {
    FakeEngine::reset();
    const TemporaryFolder folder;
    EXPECT_EQ(standardOutputOf([&] { EXPECT_THROW(YOLOv5 model(folder.path()), std::ios_base::failure); }),
              "");
}

TEST(YOLOv5Config, ARootThatIsNoMapIsAnErrorOfYamls) {
    refusal<YAML::BadSubscript>("word\n");
    EXPECT_EQ(refusal<YAML::InvalidNode>("[1, 2]\n"), "invalid node; first invalid key: \"model_path\"");
    EXPECT_EQ(refusal<YAML::InvalidNode>(""), "invalid node; first invalid key: \"model_path\"");
}

TEST(YOLOv5Config, BrokenYamlIsAParserError) {
    refusal<YAML::ParserException>("model_path: [unclosed\n");
}

}  // namespace
