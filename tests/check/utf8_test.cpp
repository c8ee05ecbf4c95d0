#include "console/utf8.h"

#include <gtest/gtest.h>

namespace brellix::app {
namespace {

TEST(Utf8, IsToldFromOtherBytes) {
    for (const char* good :
         {"", "a", "\xC3\xA9", "\xE2\x82\xAC", "\xEE\x80\x80", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_TRUE(isUtf8(good)) << good;
    }
    for (const char* bad : {"\x80", "\xC1\x81", "\xE0\x80\x80", "\xED\xA0\x80", "\xE2\x82",
                            "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF"}) {
        EXPECT_FALSE(isUtf8(bad));
    }
}

TEST(Utf8, CodePointsAreAppendedInOneToFourBytes) {
    std::string text;
    for (const std::uint32_t codePoint : {0x7FU, 0x80U, 0x7FFU, 0x800U, 0xFFFFU, 0x10000U, 0x10FFFFU}) {
        appendUtf8(codePoint, text);
    }
    EXPECT_EQ(text, "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
    EXPECT_TRUE(isUtf8(text));
}

}  // namespace
}  // namespace brellix::app
