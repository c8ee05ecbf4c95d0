#include "network/class_names_metadata.h"

#include <gtest/gtest.h>

namespace brellix::app {
namespace {

using Names = IndexedNames;

TEST(ClassNamesMetadata, PythonDictionariesAreRead) {
    EXPECT_EQ(parseClassNames("{0: 'person', 1: \"cat's\"}"), (Names{{0, "person"}, {1, "cat's"}}));
    EXPECT_EQ(parseClassNames(" {\n 3 : 'a' ,\n}\n"), (Names{{3, "a"}}));
    EXPECT_EQ(parseClassNames("{}"), Names{});
}

TEST(ClassNamesMetadata, ListsAreRead) {
    EXPECT_EQ(parseClassNames("['a', 'b',]"), (Names{{0, "a"}, {1, "b"}}));
    EXPECT_EQ(parseClassNames("[]"), Names{});
}

TEST(ClassNamesMetadata, JsonIsRead) {
    EXPECT_EQ(parseClassNames(R"({"0": "a\/b", "1": "\ud83d\ude00"})"),
              (Names{{0, "a/b"}, {1, "\xF0\x9F\x98\x80"}}));
    EXPECT_EQ(parseClassNames(R"(["a", "b"])"), (Names{{0, "a"}, {1, "b"}}));
}

TEST(ClassNamesMetadata, EscapesAreResolved) {
    EXPECT_EQ(parseClassNames(R"(['it\'s', "\"q\"", 'a\\b', 'a\n\t\r', '\xe9', '\u00e9', '\U0001f600'])"),
              (Names{{0, "it's"},
                     {1, "\"q\""},
                     {2, "a\\b"},
                     {3, "a\n\t\r"},
                     {4, "\xC3\xA9"},
                     {5, "\xC3\xA9"},
                     {6, "\xF0\x9F\x98\x80"}}));
}

TEST(ClassNamesMetadata, BytesOfUtf8PassAsTheyAre) {
    EXPECT_EQ(parseClassNames("['\xC3\xA9']"), (Names{{0, "\xC3\xA9"}}));
}

TEST(ClassNamesMetadata, AnythingElseIsRefused) {
    for (const char* text : {"",
                             "names",
                             "{",
                             "[",
                             "{0}",
                             "{0: person}",
                             "{0: 'a' 1: 'b'}",
                             "{0: 'a'} more",
                             "{-1: 'a'}",
                             "{0: 'a', 0: 'b'}",
                             "{99999999999: 'a'}",
                             "['a",
                             "['a\\",
                             "['\\q']",
                             "['\\x4']",
                             "['\\u12']",
                             "['\\ud800']",
                             "['\\ud800\\u0041']",
                             "['\\U00110000']",
                             "[1, 2]",
                             "{'x': 'a'}",
                             "__import__('os')",
                             "{0: 'a', 1: open('file')}",
                             "[,]"}) {
        EXPECT_EQ(parseClassNames(text), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace brellix::app
