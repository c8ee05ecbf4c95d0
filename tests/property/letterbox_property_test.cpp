#include "reference/letterbox.h"
#include "support/comparison.h"
#include "support/random.h"

#include "brellix/letterbox.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include <optional>

namespace brellix::testing {
namespace {

using ai_orvo::model::LetterboxInfo;

struct Letterboxed {
    cv::Mat image;
    LetterboxInfo info{};
};

/// Nothing where the reference throws.
std::optional<Letterboxed> expectedFor(const cv::Mat& src, const cv::Size& target) {
    Letterboxed result;
    try {
        result.info = reference::letterbox(src.clone(), result.image, target);
    } catch (const cv::Exception&) {
        return std::nullopt;
    }
    return result;
}

/// Compares one case. \return whether there was a picture to compare.
bool compareWithReference(const cv::Mat& src, cv::Mat dst, cv::Size target) {
    const cv::Size given = target;
    const std::optional<Letterboxed> expected = expectedFor(src, target);
    if (!expected) {
        EXPECT_THROW(ai_orvo::model::letterbox(src, dst, target), cv::Exception);
        return false;
    }
    const cv::Mat before = src.clone();
    LetterboxInfo info{};
    EXPECT_NO_THROW(info = ai_orvo::model::letterbox(src, dst, target));
    EXPECT_TRUE(sameLetterbox(info, expected->info));
    EXPECT_TRUE(sameImage(dst, expected->image));
    EXPECT_TRUE(sameImage(src, before));
    EXPECT_EQ(target, given);
    return true;
}

TEST(LetterboxProperty, AnySizeAndTypeGivesTheBytesOfTheReference) {
    Random random(20240101);
    int compared = 0;
    for (int i = 0; i < 300; ++i) {
        const int type = random.oneOf({CV_8UC1, CV_8UC3, CV_8UC3, CV_8UC4, CV_16UC3, CV_32FC1});
        const cv::Mat src = random.image({random.length(2000), random.length(2000)}, type);
        const cv::Size target{random.length(1300), random.length(1300)};
        SCOPED_TRACE(::testing::Message()
                     << "source " << src.size() << " target " << target << " type " << type);
        compared += compareWithReference(src, cv::Mat(), target) ? 1 : 0;
    }
    EXPECT_GT(compared, 250);
}

TEST(LetterboxProperty, UsualTargetsGiveTheBytesOfTheReference) {
    Random random(77);
    int padded = 0;
    for (int i = 0; i < 60; ++i) {
        const cv::Mat src = random.image({random.integer(1, 2000), random.integer(1, 2000)}, CV_8UC3);
        const cv::Size target = random.oneOf({cv::Size(640, 640), cv::Size(416, 416), cv::Size(320, 256)});
        SCOPED_TRACE(::testing::Message() << "source " << src.size() << " target " << target);
        compareWithReference(src, cv::Mat(), target);
        const std::optional<Letterboxed> expected = expectedFor(src, target);
        padded += expected && (expected->info.dw + expected->info.dh) * 2.0F >= 1.0F ? 1 : 0;
    }
    EXPECT_GT(padded, 40);
}

TEST(LetterboxProperty, SizesAroundTheTargetGiveTheBytesOfTheReference) {
    Random random(3);
    for (int width = 60; width <= 68; ++width) {
        for (int height = 44; height <= 52; ++height) {
            SCOPED_TRACE(::testing::Message() << "source " << width << " x " << height);
            EXPECT_TRUE(compareWithReference(random.image({width, height}, CV_8UC3), cv::Mat(), {64, 48}));
        }
    }
}

TEST(LetterboxProperty, WholeFactorsGiveTheBytesOfTheReference) {
    // An odd factor meets pixels exactly, an even one lies between them.
    Random random(8);
    for (int factor = 2; factor <= 11; ++factor) {
        for (const cv::Size& scaled :
             {cv::Size(64, 48), cv::Size(64, 1), cv::Size(1, 64), cv::Size(17, 64)}) {
            const cv::Mat src = random.image({scaled.width * factor, scaled.height * factor}, CV_8UC3);
            SCOPED_TRACE(::testing::Message() << "source " << src.size());
            EXPECT_TRUE(compareWithReference(src, cv::Mat(), {64, 64}));
        }
    }
    EXPECT_TRUE(compareWithReference(random.image({1920, 1080}, CV_8UC3), cv::Mat(), {640, 640}));
    EXPECT_TRUE(compareWithReference(random.image({3200, 2400}, CV_8UC3), cv::Mat(), {640, 640}));
    EXPECT_TRUE(compareWithReference(random.image({300, 180}, CV_8UC1), cv::Mat(), {100, 100}));
}

TEST(LetterboxProperty, ASubmatrixIsPaddedAsIfNothingLayAroundIt) {
    Random random(4);
    int unscaled = 0;
    for (int i = 0; i < 150; ++i) {
        const cv::Mat parent = random.image({200, 180}, random.oneOf({CV_8UC1, CV_8UC3, CV_8UC4}));
        const cv::Rect part{random.integer(0, 60), random.integer(0, 60), random.integer(1, 120),
                            random.integer(1, 120)};
        cv::Size target{random.integer(40, 150), random.integer(40, 150)};
        if (random.chance(0.5)) {
            // One side fits, so nothing is scaled and only the padding could look at the surroundings.
            target = {part.width, part.height + random.integer(0, 9)};
            ++unscaled;
        }
        SCOPED_TRACE(::testing::Message() << "part " << part << " target " << target);
        compareWithReference(parent(part), cv::Mat(), target);
    }
    EXPECT_GT(unscaled, 50);
}

TEST(LetterboxProperty, TheDestinationMayBeTheSource) {
    Random random(5);
    for (int i = 0; i < 80; ++i) {
        cv::Mat image = random.image({random.length(400), random.length(400)}, CV_8UC3);
        cv::Size target = random.chance(0.3) ? image.size() : cv::Size(random.integer(30, 300), 128);
        SCOPED_TRACE(::testing::Message() << "source " << image.size() << " target " << target);
        const std::optional<Letterboxed> expected = expectedFor(image, target);
        if (!expected) {
            EXPECT_THROW(ai_orvo::model::letterbox(image, image, target), cv::Exception);
            continue;
        }
        const LetterboxInfo info = ai_orvo::model::letterbox(image, image, target);
        EXPECT_TRUE(sameLetterbox(info, expected->info));
        EXPECT_TRUE(sameImage(image, expected->image));
    }
}

TEST(LetterboxProperty, TheDestinationMayHoldAnything) {
    Random random(6);
    for (int i = 0; i < 40; ++i) {
        const cv::Mat src = random.image({random.length(300), random.length(300)}, CV_8UC3);
        const cv::Size target(96, 64);
        const int type = random.oneOf({CV_8UC3, CV_32FC1});
        const cv::Mat dst = random.image(random.oneOf({target, cv::Size(5, 7)}), type);
        SCOPED_TRACE(::testing::Message() << "source " << src.size() << " destination " << dst.size());
        compareWithReference(src, dst, target);
    }
}

TEST(LetterboxProperty, NoPictureAndNoTargetThrow) {
    const cv::Mat image(10, 10, CV_8UC3, cv::Scalar::all(1));
    EXPECT_FALSE(compareWithReference(cv::Mat(), cv::Mat(), {64, 64}));
    EXPECT_FALSE(compareWithReference(cv::Mat(0, 5, CV_8UC3), cv::Mat(), {64, 64}));
    EXPECT_FALSE(compareWithReference(image, cv::Mat(), {0, 64}));
    EXPECT_FALSE(compareWithReference(image, cv::Mat(), {0, 0}));
    EXPECT_FALSE(compareWithReference(image, cv::Mat(), {-64, 64}));
    EXPECT_FALSE(compareWithReference(cv::Mat(1, 2000, CV_8UC3), cv::Mat(), {640, 640}));
}

}  // namespace
}  // namespace brellix::testing
