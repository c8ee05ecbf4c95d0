#include "masks/run_length.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

namespace brellix::testing {
namespace {

using namespace app;
using Runs = std::vector<std::uint32_t>;

void expectRefused(const std::string& text, cv::Size size, const std::string& words) {
    try {
        static_cast<void>(decompressed(text, size));
        ADD_FAILURE() << "\"" << text << "\" was read";
    } catch (const std::invalid_argument& error) {
        EXPECT_NE(std::string(error.what()).find(words), std::string::npos) << error.what();
    }
}

TEST(RunLengthsText, IsReadBackWithNegativeDifferences) {
    // 1 - 40 and 7 - 1 stand at the end.
    EXPECT_EQ(decompressed("1X11iN6", {50, 1}).runs, (Runs{1, 40, 1, 1, 7}));
}

TEST(RunLengthsText, RandomMasksComeBack) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> length(1, 120);
    std::uniform_int_distribution<int> chance(1, 99);
    for (int round = 0; round < 100; ++round) {
        cv::Mat mask(length(random), length(random), CV_8U);
        const int threshold = chance(random);
        for (auto pixel = mask.begin<std::uint8_t>(); pixel != mask.end<std::uint8_t>(); ++pixel) {
            *pixel = chance(random) < threshold ? 1 : 0;
        }
        const RunLengths runs = runLengthsOf(mask);
        const RunLengths back = decompressed(compressed(runs), mask.size());
        EXPECT_EQ(back.runs, runs.runs);
        EXPECT_EQ(back.size, mask.size());
    }
}

TEST(RunLengthsText, IsRefusedWhereItDoesNotFillItsMask) {
    expectRefused("3", {2, 2}, "cover 3 of 4");
    expectRefused("", {2, 2}, "cover 0 of 4");
    expectRefused("5", {2, 2}, "5 pixels long");
    expectRefused("131", {2, 2}, "where 0 are left");
}

TEST(RunLengthsText, IsRefusedWhereItIsNoSuchText) {
    expectRefused("1 1", {2, 2}, "character 2");
    expectRefused("1q", {2, 2}, "character 2");
    expectRefused("1P", {2, 2}, "in the middle of a number");
    expectRefused("\xC3\xA4", {2, 2}, "character 1");
}

TEST(RunLengthsText, NumbersThatWouldOverflowAreRefused) {
    expectRefused("oooooooo1", {2, 2}, "too long");
    expectRefused("ooooooo", {2, 2}, "too long");
    expectRefused("N", {2, 2}, "-2 pixels long");
    // Differences that add up: each of them fits, their sum does not.
    expectRefused("1111>>>>>", {3, 3}, "pixels long");
}

TEST(RunLengthsBuilder, JoinsPiecesThatTouch) {
    RunLengthsBuilder builder({1, 10});
    builder.add(2, 4);
    builder.add(4, 5);
    builder.add(7, 7);
    builder.add(8, 10);
    EXPECT_EQ(builder.finish().runs, (Runs{2, 3, 3, 2}));
}

TEST(RunLengthsBuilder, WithoutPiecesTheMaskIsEmpty) {
    EXPECT_EQ(RunLengthsBuilder({4, 5}).finish().runs, Runs{20});
}

}  // namespace
}  // namespace brellix::testing
