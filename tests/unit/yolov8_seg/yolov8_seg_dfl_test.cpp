#include "brellix/yolov8_seg.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <vector>

#include "support/sanitizers.h"

namespace {

using ai_orvo::model::computeDfl;

// Less than a list of as many floats as an int counts.
constexpr rlim_t kLittleMemory = rlim_t{4} << 30U;

TEST(ComputeDfl, OneHeavyBinIsTheDistance) {
    std::vector<float> logits(64, 0.0F);
    const std::size_t bins[] = {0, 3, 7, 15};
    for (std::size_t side = 0; side < 4; ++side) {
        logits[side * 16 + bins[side]] = 60.0F;
    }
    float out[4] = {-1, -1, -1, -1};
    computeDfl(logits, 16, out);
    EXPECT_LT(out[0], 1e-20F);
    EXPECT_EQ(out[1], 3.0F);
    EXPECT_EQ(out[2], 7.0F);
    EXPECT_EQ(out[3], 15.0F);
}

TEST(ComputeDfl, EqualBinsGiveTheirMean) {
    std::vector<float> logits(8, 1.0F);
    float out[4] = {};
    computeDfl(logits, 2, out);
    for (const float distance : out) {
        EXPECT_EQ(distance, 0.5F);
    }
}

TEST(ComputeDfl, WithoutBinsNothingIsWritten) {
    std::vector<float> logits;
    float out[4] = {1, 2, 3, 4};
    computeDfl(logits, 0, out);
    computeDfl(logits, -5, out);
    EXPECT_EQ(out[0], 1.0F);
    EXPECT_EQ(out[3], 4.0F);
}

TEST(ComputeDfl, TooFewLogitsAreOutOfRange) {
    std::vector<float> logits(7, 0.0F);
    float out[4] = {};
    EXPECT_THROW(computeDfl(logits, 2, out), std::out_of_range);
}

TEST(ComputeDfl, ABinCountBeyondAllMemoryIsOutOfRange) {
#if BRELLIX_ADDRESS_SANITIZER || BRELLIX_THREAD_SANITIZER
    GTEST_SKIP() << "a sanitizer needs more address space than the limit leaves";
#endif
    const auto withLittleMemory = [] {
        const rlimit limit{kLittleMemory, kLittleMemory};
        ::setrlimit(RLIMIT_AS, &limit);
        std::vector<float> logits(7, 0.0F);
        float out[4] = {};
        try {
            computeDfl(logits, std::numeric_limits<int>::max(), out);
        } catch (const std::out_of_range&) {
            std::_Exit(0);
        }
    };
    EXPECT_EXIT(withLittleMemory(), ::testing::ExitedWithCode(0), "");
}

TEST(ComputeDfl, LogitsThatOverflowGiveNan) {
    std::vector<float> logits(8, 100.0F);
    float out[4] = {};
    computeDfl(logits, 2, out);
    EXPECT_TRUE(std::isnan(out[0]));
}

}  // namespace
