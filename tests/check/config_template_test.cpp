#include "config/config_template.h"

#include <gtest/gtest.h>
#include <yaml-cpp/yaml.h>

namespace brellix::app {
namespace {

std::string through(const std::string& text) {
    return YAML::Load("key: " + yamlQuoted(text) + '\n')["key"].as<std::string>();
}

TEST(ConfigTemplate, QuotedTextComesBackUnchanged) {
    for (const std::string text : {"",
                                   "plain",
                                   "a b",
                                   "it's",
                                   "\"quoted\"",
                                   "back\\slash",
                                   "#no comment",
                                   "- no list",
                                   "{no: map}",
                                   "yes",
                                   "null",
                                   "~",
                                   "line\nline",
                                   "tab\t",
                                   "bell\x07",
                                   "del\x7F",
                                   "\xC3\xA9",
                                   "\xF0\x9F\x98\x80",
                                   "%TAG",
                                   "a: b",
                                   "&a *b !c"}) {
        EXPECT_EQ(through(text), text) << yamlQuoted(text);
    }
}

TEST(ConfigTemplate, BytesThatAreNoUtf8AreReplaced) {
    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(through("a\xFF"
                      "b"),
              "a" + replacement + "b");
    EXPECT_EQ(through("\xC3"), replacement);
    EXPECT_EQ(through("\xC0\x80"), replacement + replacement);
}

TEST(ConfigTemplate, HoldsTheSettings) {
    ConfigTemplate content;
    content.settings = {ModelClass::kYoloV8Seg, {320, 192}, 2, "RKNN", true};
    content.modelPath = "a: \"b\".onnx";
    content.names = {{0, "x: y"}, {1, "- z"}};
    const YAML::Node document = YAML::Load(configText(content));
    EXPECT_EQ(document["model"].as<std::string>(), "yolov8_seg");
    EXPECT_EQ(document["model_path"].as<std::string>(), content.modelPath);
    EXPECT_EQ(document["class_num"].as<int>(), 2);
    EXPECT_EQ(document["input_size"].as<std::vector<int>>(), (std::vector<int>{320, 192}));
    EXPECT_EQ(document["framework"].as<std::string>(), "RKNN");
    EXPECT_TRUE(document["is_quantized"].as<bool>());
    EXPECT_EQ(document["class_mapping"][1].as<std::string>(), "- z");
}

TEST(ConfigTemplate, BracesInNamesAndPathsStayAsTheyAre) {
    ConfigTemplate content;
    content.modelPath = "{names}/{no end.onnx";
    content.names = {{0, "{model}"}, {1, "}"}};
    const YAML::Node document = YAML::Load(configText(content));
    EXPECT_EQ(document["model_path"].as<std::string>(), content.modelPath);
    EXPECT_EQ(document["class_mapping"][0].as<std::string>(), "{model}");
    EXPECT_EQ(document["class_mapping"][1].as<std::string>(), "}");
}

TEST(ConfigTemplate, WithoutNamesTheMapIsEmpty) {
    const YAML::Node document = YAML::Load(configText(ConfigTemplate()));
    EXPECT_TRUE(document["class_mapping"].IsMap());
    EXPECT_EQ(document["class_mapping"].size(), 0U);
}

}  // namespace
}  // namespace brellix::app
