#include "brellix/quantization.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

namespace {

using namespace ai_orvo::model;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(Clip, HoldsTheValueThenTruncates) {
    EXPECT_EQ(__clip(5.7F, 0, 10), 5);
    EXPECT_EQ(__clip(-0.5F, -1, 1), 0);
    EXPECT_EQ(__clip(10, 0, 10), 10);
    EXPECT_EQ(__clip(11.5F, 0, 10), 10);
    EXPECT_EQ(__clip(-3.0F, -2.5F, 10), -2);
}

TEST(Clip, NanIsZeroAndTheRestSaturates) {
    EXPECT_EQ(__clip(kNaN, 0, 10), 0);
    EXPECT_EQ(__clip(kNaN, 5, 10), 0);
    EXPECT_EQ(__clip(1e30F, 0, kInfinity), std::numeric_limits<int>::max());
    EXPECT_EQ(__clip(-1e30F, -kInfinity, 0), std::numeric_limits<int>::min());
    EXPECT_EQ(__clip(3.0F, kNaN, kNaN), 3);
}

TEST(Sigmoid, KnownValues) {
    EXPECT_EQ(sigmoid(0.0F), 0.5F);
    EXPECT_EQ(sigmoid(-100.0F), 0.0F);
    EXPECT_EQ(sigmoid(100.0F), 1.0F);
    EXPECT_TRUE(std::isnan(sigmoid(kNaN)));
}

TEST(Unsigmoid, KnownValues) {
    EXPECT_EQ(unsigmoid(0.5F), 0.0F);
    EXPECT_EQ(unsigmoid(1.0F), kInfinity);
    EXPECT_EQ(unsigmoid(0.0F), -kInfinity);
    EXPECT_TRUE(std::isnan(unsigmoid(2.0F)));
    EXPECT_TRUE(std::isnan(unsigmoid(-0.5F)));
}

TEST(QntF32ToAffine, SaturatesAndTruncates) {
    static_assert(std::is_same_v<decltype(qntF32ToAffine(0.0F, 0, 1.0F)), int>);
    EXPECT_EQ(qntF32ToAffine(1000, 0, 1), 127);
    EXPECT_EQ(qntF32ToAffine(-1000, 0, 1), -128);
    EXPECT_EQ(qntF32ToAffine(0.99F, 0, 1), 0);
    EXPECT_EQ(qntF32ToAffine(0, -128, 0.5F), -128);
    EXPECT_EQ(qntF32ToAffine(3.9F, 0, 1), 3);
    EXPECT_EQ(qntF32ToAffine(-3.9F, 0, 1), -3);
}

TEST(QntF32ToAffine, AScaleOfZeroDividesByIt) {
    EXPECT_EQ(qntF32ToAffine(1, 5, 0), 127);
    EXPECT_EQ(qntF32ToAffine(-1, 5, 0), -128);
    EXPECT_EQ(qntF32ToAffine(0, 5, 0), 0);
}

TEST(QntF32ToAffine, ANanThresholdBecomesZero) {
    EXPECT_EQ(qntF32ToAffine(unsigmoid(2.0F), 17, 0.1F), 0);
}

TEST(DeqntAffineToF32, SubtractsThenScales) {
    EXPECT_EQ(deqntAffineToF32(-128, -128, 0.3F), 0.0F);
    EXPECT_EQ(deqntAffineToF32(127, 0, 0.1F), 127.0F * 0.1F);
    EXPECT_EQ(deqntAffineToF32(-1, 4, 0.5F), -2.5F);
    EXPECT_EQ(deqntAffineToF32(0, std::numeric_limits<int>::min(), 1.0F), 2147483648.0F);
}

}  // namespace
