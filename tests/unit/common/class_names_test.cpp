#include "brellix/class_names.h"
#include "support/capture_stdout.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

namespace {

using ai_orvo::model::read_class_name;
using brellix::testing::standardOutputOf;
using brellix::testing::TemporaryFolder;
using Names = std::vector<std::string>;

Names namesFromText(const std::string& content, Names names = {}) {
    const TemporaryFolder folder;
    read_class_name(folder.write("names.txt", content), names);
    return names;
}

Names namesFromYaml(const std::string& document, Names names = {}) {
    read_class_name(YAML::Load(document), names);
    return names;
}

TEST(ClassNameText, OneLabelALine) {
    EXPECT_EQ(namesFromText("a\n\nb"), (Names{"a", "", "b"}));
    EXPECT_EQ(namesFromText("a\nb\n"), (Names{"a", "b"}));
    EXPECT_EQ(namesFromText(""), Names{});
    EXPECT_EQ(namesFromText("\n"), Names{""});
}

TEST(ClassNameText, NothingIsTrimmed) {
    EXPECT_EQ(namesFromText("a\r\n b \r\n"), (Names{"a\r", " b \r"}));
    EXPECT_EQ(namesFromText(std::string("a\0b\n", 4)), (Names{std::string("a\0b", 3)}));
}

TEST(ClassNameText, AppendsBehindWhatTheListHolds) {
    const TemporaryFolder folder;
    const std::string path = folder.write("names.txt", "x\ny\n");
    Names names = {"first"};
    read_class_name(path, names);
    read_class_name(path, names);
    EXPECT_EQ(names, (Names{"first", "x", "y", "x", "y"}));
}

TEST(ClassNameText, AnUnreadableFileLeavesTheListUnchanged) {
    const TemporaryFolder folder;
    Names names = {"kept"};
    EXPECT_EQ(standardOutputOf([&] {
                  read_class_name(folder.path() + "/missing.txt", names);
                  read_class_name(folder.path(), names);
              }),
              "");
    EXPECT_EQ(names, Names{"kept"});
}

TEST(ClassNameYaml, GapsHoldTheFiller) {
    EXPECT_EQ(namesFromYaml("class_mapping: {0: person, 2: car}"), (Names{"person", "NO_TYPE", "car"}));
    EXPECT_EQ(namesFromYaml("class_mapping: {1: x, 3: y}"), (Names{"NO_TYPE", "x", "NO_TYPE", "y"}));
}

TEST(ClassNameYaml, NegativeIndicesAreSkipped) {
    EXPECT_EQ(namesFromYaml("class_mapping: {-1: z}"), Names{"NO_TYPE"});
    EXPECT_EQ(namesFromYaml("class_mapping: {-1: z, 0: a}"), (Names{"a", "NO_TYPE"}));
}

TEST(ClassNameYaml, IntegerKeysTakeHexadecimalAndOctal) {
    EXPECT_EQ(namesFromYaml("class_mapping: {0x1: b, 00: a}"), (Names{"a", "b"}));
}

TEST(ClassNameYaml, ASequenceLeavesFillersOnly) {
    EXPECT_EQ(namesFromYaml("class_mapping: [a, b, c]"), (Names{"NO_TYPE", "NO_TYPE", "NO_TYPE"}));
    EXPECT_EQ(namesFromYaml("class_mapping: [a, b, c]", {"old"}), (Names{"old", "NO_TYPE", "NO_TYPE"}));
}

TEST(ClassNameYaml, AKeyThatIsNoIntegerStopsTheReading) {
    EXPECT_EQ(namesFromYaml("class_mapping: {0: a, word: b, 1: c}"), (Names{"a", "NO_TYPE", "NO_TYPE"}));
    EXPECT_EQ(namesFromYaml("class_mapping: {0: a, 1.5: b, 1: c}"), (Names{"a", "NO_TYPE", "NO_TYPE"}));
}

TEST(ClassNameYaml, EntriesThatAreNoScalarsAreSkipped) {
    EXPECT_EQ(namesFromYaml("class_mapping: {0: [a], 1: b, 2: , ~: c, 3: {x: y}}"),
              (Names{"NO_TYPE", "b", "NO_TYPE", "NO_TYPE", "NO_TYPE"}));
}

TEST(ClassNameYaml, DuplicateKeysCountAsEntriesAndTheLaterWins) {
    EXPECT_EQ(namesFromYaml("class_mapping: {0: a, 0: b}"), (Names{"b", "NO_TYPE"}));
}

TEST(ClassNameYaml, ResizesButKeepsWhatLiesBelow) {
    EXPECT_EQ(namesFromYaml("class_mapping: {0: a, -1: z}", {"x", "y", "w"}), (Names{"a", "y"}));
}

TEST(ClassNameYaml, AMissingMapLeavesTheListAsItWas) {
    EXPECT_EQ(namesFromYaml("other: 1", {"kept"}), Names{"kept"});
    EXPECT_EQ(namesFromYaml("word", {"kept"}), Names{"kept"});
    EXPECT_EQ(namesFromYaml("[1, 2]", {"kept"}), Names{"kept"});
    EXPECT_EQ(namesFromYaml("", {"kept"}), Names{"kept"});
}

TEST(ClassNameYaml, AMapWithoutEntriesEmptiesTheList) {
    EXPECT_EQ(namesFromYaml("class_mapping: ~", {"gone"}), Names{});
    EXPECT_EQ(namesFromYaml("class_mapping: word", {"gone"}), Names{});
    EXPECT_EQ(namesFromYaml("class_mapping: {}", {"gone"}), Names{});
}

TEST(ClassNameYaml, ReadingAddsNoKeyToTheDocument) {
    const YAML::Node document = YAML::Load("other: 1");
    Names names;
    read_class_name(document, names);
    EXPECT_EQ(document.size(), 1U);
}

}  // namespace
