#include "annotated_names.h"

#include <gtest/gtest.h>

namespace brellix::app {
namespace {

using Names = std::vector<std::string>;

TEST(AnnotatedNames, PngAndJpegKeepTheirNames) {
    EXPECT_EQ(annotatedNames({"a/x.png", "y.JPG", "b/z.jpeg"}), (Names{"x.png", "y.JPG", "z.jpeg"}));
}

TEST(AnnotatedNames, OtherFormatsBecomePng) {
    EXPECT_EQ(annotatedNames({"x.bmp", "y", "z.tar.webp"}), (Names{"x.png", "y.png", "z.tar.png"}));
}

TEST(AnnotatedNames, SameNamesAreNumberedInTheirOrder) {
    EXPECT_EQ(annotatedNames({"a/x.png", "b/x.png", "c/x.png"}), (Names{"x.png", "x-2.png", "x-3.png"}));
}

TEST(AnnotatedNames, NumberedNameNeverTakesTheNameOfAnotherSource) {
    EXPECT_EQ(annotatedNames({"a/x.png", "b/x.png", "x-2.png", "c/x-2.png"}),
              (Names{"x.png", "x-3.png", "x-2.png", "x-2-2.png"}));
}

TEST(AnnotatedNames, NamesThatBecomeEqualAreNumbered) {
    EXPECT_EQ(annotatedNames({"x.bmp", "x.png"}), (Names{"x.png", "x-2.png"}));
}

}  // namespace
}  // namespace brellix::app
