#include "sources/source_names.h"

#include <gtest/gtest.h>

namespace brellix::app {
namespace {

using Names = std::vector<std::string>;

FrameId picture(const std::string& path) {
    FrameId id;
    id.source = path;
    return id;
}

FrameId video(const std::string& path) {
    FrameId id = picture(path);
    id.origin = FrameOrigin::kVideo;
    return id;
}

Names annotatedNames(const Names& pictures) {
    std::vector<FrameId> known;
    for (const std::string& path : pictures) {
        known.push_back(picture(path));
    }
    SourceNames names(annotatedName, known);
    Names given;
    for (const FrameId& id : known) {
        given.push_back(names.of(id));
    }
    return given;
}

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

TEST(AnnotatedNames, VideosAndStreamsBecomeAvi) {
    FrameId camera = picture("camera 0");
    camera.origin = FrameOrigin::kLive;
    EXPECT_EQ(annotatedName(video("a/clip.mp4")), "clip.avi");
    EXPECT_EQ(annotatedName(camera), "camera-0.avi");
    EXPECT_EQ(stemName(video("a/clip.part.mp4")), "clip.part");
}

TEST(SourceNames, SourcesThatComeLaterGetFreeNames) {
    SourceNames names(annotatedName, {picture("a/x.png")});
    EXPECT_EQ(names.of(picture("b/x.png")), "x-2.png");
    EXPECT_EQ(names.of(picture("c/x-2.png")), "x-2-2.png");
    EXPECT_EQ(names.of(picture("b/x.png")), "x-2.png");
    EXPECT_EQ(names.of(picture("a/x.png")), "x.png");
}

TEST(SourceNames, SourceCanHaveAnotherName) {
    SourceNames names(annotatedName, {video("x.mp4"), video("x-2.mp4")});
    EXPECT_EQ(names.another(video("x.mp4")), "x-3.avi");
}

TEST(AnnotatedNames, NamesThatBecomeEqualAreNumbered) {
    EXPECT_EQ(annotatedNames({"x.bmp", "x.png"}), (Names{"x.png", "x-2.png"}));
}

}  // namespace
}  // namespace brellix::app
