#include "console/text.h"

#include <gtest/gtest.h>

#include <string>

namespace brellix::testing {
namespace {

using app::printable;

TEST(Printable, TextStaysAsItIs) {
    EXPECT_EQ(printable("a caf\xc3\xa9, \xe2\x82\xac 5"), "a caf\xc3\xa9, \xe2\x82\xac 5");
    EXPECT_EQ(printable("\xc2\xa0\xc2\xbf"), "\xc2\xa0\xc2\xbf");
    EXPECT_EQ(printable(""), "");
}

TEST(Printable, ControlCharactersBecomeQuestionMarks) {
    EXPECT_EQ(printable(std::string("a\x1b[31m\n\x7f") + '\0'), "a?[31m???");
}

TEST(Printable, ControlCharactersOfTwoBytesBecomeOneQuestionMark) {
    EXPECT_EQ(printable("a\xc2\x9b"
                        "31m\xc2\x80"),
              "a?31m?");
    EXPECT_EQ(printable("cut \xc2"), "cut \xc2");
    EXPECT_EQ(printable("\xc2\x1b"), "\xc2?");
}

TEST(Joined, PartsStandWithSomethingBetweenEachTwo) {
    EXPECT_EQ(app::joined({}), "");
    EXPECT_EQ(app::joined({"a"}), "a");
    EXPECT_EQ(app::joined({"a", "", "b"}), "a, , b");
    EXPECT_EQ(app::joined({"a", "b"}, "; "), "a; b");
}

TEST(Counted, ANounHasItsOwnPluralOrAnS) {
    EXPECT_EQ(app::counted(0, "picture"), "0 pictures");
    EXPECT_EQ(app::counted(1, "picture"), "1 picture");
    EXPECT_EQ(app::counted(1, "class", "classes"), "1 class");
    EXPECT_EQ(app::counted(80, "class", "classes"), "80 classes");
}

}  // namespace
}  // namespace brellix::testing
