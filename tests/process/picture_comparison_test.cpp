#include "compare/picture_comparison.h"

#include <gtest/gtest.h>

#include <vector>

namespace brellix::testing {
namespace {

using namespace app;

constexpr SideRules kPlain = {0.25, false};
constexpr SideRules kProduct = {0.25, true};

/// \return whether an object that only A has, with this probability, is near B's threshold.
bool isNear(float probability, const SideRules& a, double thresholdOfB, double margin = 0.05) {
    ai_orvo::model::Object object;
    object.rect = {10.0F, 10.0F, 20.0F, 20.0F};
    object.prob = probability;
    const SideRules b{thresholdOfB, false};
    const PictureComparison missed = comparePicture("a.png", {object}, {}, {0.5, margin, a, b});
    const PictureComparison extra = comparePicture("a.png", {}, {object}, {0.5, margin, b, a});
    EXPECT_EQ(missed.missed.at(0).isNearThreshold, extra.extra.at(0).isNearThreshold);
    EXPECT_EQ(missed.severity(), missed.missed.at(0).isNearThreshold ? 0.1 : 1.0);
    return missed.missed.at(0).isNearThreshold;
}

TEST(NearTheThreshold, IsAScoreWithinTheMarginOnEitherSide) {
    EXPECT_TRUE(isNear(0.29F, kPlain, 0.25));
    EXPECT_FALSE(isNear(0.31F, kPlain, 0.25));
    EXPECT_TRUE(isNear(0.46F, kPlain, 0.5));
    EXPECT_FALSE(isNear(0.44F, kPlain, 0.5));
}

TEST(NearTheThreshold, IsNothingWithoutAMargin) {
    for (const float probability : {0.1F, 0.25F, 0.26F, 0.5F}) {
        EXPECT_FALSE(isNear(probability, kPlain, 0.25, 0.0)) << probability;
        EXPECT_FALSE(isNear(probability, kProduct, 0.25, 0.0)) << probability;
    }
}

TEST(NearTheThreshold, IsAProductOfWhichAFactorMayBe) {
    // 0.26 * 0.26 and 0.27 * 0.9 hold a factor that is near; 0.31 cannot.
    EXPECT_TRUE(isNear(0.0676F, kProduct, 0.25));
    EXPECT_TRUE(isNear(0.243F, kProduct, 0.25));
    EXPECT_FALSE(isNear(0.31F, kProduct, 0.25));
    // The smaller factor is at most the root: 0.6 and 0.548.
    EXPECT_TRUE(isNear(0.36F, kProduct, 0.6));
    EXPECT_FALSE(isNear(0.3F, kProduct, 0.6));
}

TEST(NearTheThreshold, IsNoProductWhoseFactorsExceedAHigherThreshold) {
    // Both factors are above 0.25, so that none is near 0.1.
    EXPECT_FALSE(isNear(0.12F, kProduct, 0.1));
}

}  // namespace
}  // namespace brellix::testing
