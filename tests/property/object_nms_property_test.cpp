#include "reference/object_nms.h"
#include "support/comparison.h"
#include "support/random.h"

#include "brellix/nms.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <numeric>
#include <vector>

namespace brellix::testing {
namespace {

using ai_orvo::model::Object;

constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();

/// Boxes between whole and half pixels in a small field, so that most of them overlap.
cv::Rect_<float> crowdedBox(Random& random) {
    const auto half = [&](int low, int high) { return static_cast<float>(random.integer(low, high)) * 0.5F; };
    return {half(-20, 60), half(-20, 60), half(-4, 50), half(-4, 50)};
}

/// Objects with a mask each, by which they are told apart.
std::vector<Object> crowd(Random& random, std::size_t count) {
    std::vector<Object> objects(count);
    for (Object& object : objects) {
        object.rect = crowdedBox(random);
        object.label = random.integer(-2, 2);
        object.mask = cv::Mat::zeros(1, 1, CV_8U);
    }
    return objects;
}

/// Probabilities 1, 2, 3, ... in random order, divided by a power of two: all different.
void giveDistinctProbabilities(Random& random, std::vector<Object>& objects) {
    std::vector<float> values(objects.size());
    std::iota(values.begin(), values.end(), 1.0F);
    for (std::size_t i = values.size(); i > 1; --i) {
        std::swap(values[i - 1],
                  values[static_cast<std::size_t>(random.integer(0, static_cast<int>(i) - 1))]);
    }
    for (std::size_t i = 0; i < objects.size(); ++i) {
        objects[i].prob = values[i] / 128.0F;
    }
}

TEST(IouProperty, OrdinaryBoxesGiveTheValueOfTheReference) {
    Random random(11);
    int partial = 0;
    for (int i = 0; i < 20000; ++i) {
        const cv::Rect a(crowdedBox(random));
        const cv::Rect b = random.chance(0.1) ? a : cv::Rect(crowdedBox(random));
        const float expected = reference::iou(a, b);
        ASSERT_PRED2(sameFloat, ai_orvo::model::iou(a, b), expected) << a << " and " << b;
        partial += expected > 0.0F && expected < 1.0F ? 1 : 0;
    }
    EXPECT_GT(partial, 2000);
}

TEST(IouProperty, ExtremeBoxesDoNotOverflow) {
    Random random(12);
    const auto extreme = [&] {
        return random.oneOf({kIntMin, kIntMin + 1, -65536, -46341, -1, 0, 1, 46340, 46341, 65536, kIntMax - 1,
                             kIntMax, random.integer(kIntMin, kIntMax), random.integer(-100, 100)});
    };
    int overlapping = 0;
    for (int i = 0; i < 20000; ++i) {
        const cv::Rect a{extreme(), extreme(), extreme(), extreme()};
        const cv::Rect b = random.chance(0.2) ? a : cv::Rect{extreme(), extreme(), extreme(), extreme()};
        const float expected = reference::iou(a, b);
        ASSERT_PRED2(sameFloat, ai_orvo::model::iou(a, b), expected) << a << " and " << b;
        ASSERT_GE(expected, 0.0F);
        ASSERT_LE(expected, 1.0F);
        overlapping += expected > 0.0F ? 1 : 0;
    }
    EXPECT_GT(overlapping, 500);
}

TEST(ObjectNmsProperty, DistinctProbabilitiesGiveTheReferenceInOrder) {
    Random random(13);
    std::size_t suppressed = 0;
    for (int i = 0; i < 400; ++i) {
        std::vector<Object> objects = crowd(random, static_cast<std::size_t>(random.integer(0, 80)));
        giveDistinctProbabilities(random, objects);
        const float threshold = random.oneOf({-1.0F, -0.01F, 0.0F, 0.1F, 1.0F / 3.0F, 0.45F, 0.65F, 1.0F,
                                              2.0F, std::numeric_limits<float>::quiet_NaN()});
        const std::vector<Object> expected = reference::keepGreedily(objects, threshold);
        suppressed += objects.size() - expected.size();
        ai_orvo::model::nms(objects, threshold);
        ASSERT_TRUE(sameObjects(objects, expected)) << "threshold " << threshold;
    }
    EXPECT_GT(suppressed, 2000U);
}

TEST(ObjectNmsProperty, EqualAndMissingProbabilitiesGiveOneOfTheGreedyResults) {
    Random random(14);
    std::size_t suppressed = 0;
    for (int i = 0; i < 400; ++i) {
        std::vector<Object> objects = crowd(random, static_cast<std::size_t>(random.integer(2, 80)));
        for (Object& object : objects) {
            object.prob =
                random.chance(0.2) ? random.hostile() : static_cast<float>(random.integer(0, 4)) / 4.0F;
        }
        const float threshold = random.oneOf({-0.5F, 0.0F, 0.3F, 0.65F, 1.0F});
        std::vector<Object> kept = objects;
        ai_orvo::model::nms(kept, threshold);
        ASSERT_TRUE(isGreedySuppression(objects, kept, threshold)) << "threshold " << threshold;
        suppressed += objects.size() - kept.size();
    }
    EXPECT_GT(suppressed, 2000U);
}

TEST(ObjectNmsProperty, ManyEqualProbabilitiesGiveOneOfTheGreedyResults) {
    Random random(15);
    for (const float prob : {0.5F, std::numeric_limits<float>::quiet_NaN()}) {
        std::vector<Object> objects = crowd(random, 1000);
        for (Object& object : objects) {
            object.prob = prob;
        }
        std::vector<Object> kept = objects;
        ai_orvo::model::nms(kept, 0.4F);
        EXPECT_TRUE(isGreedySuppression(objects, kept, 0.4F));
        EXPECT_LT(kept.size(), objects.size());
    }
}

TEST(ObjectNmsProperty, HugeWholeBoxesGiveTheReference) {
    Random random(16);
    std::size_t suppressed = 0;
    for (int i = 0; i < 300; ++i) {
        std::vector<Object> objects = crowd(random, 100);
        giveDistinctProbabilities(random, objects);
        for (Object& object : objects) {
            const auto corner = [&] { return random.oneOf({-2147483648.0F, -1e9F, -1.0F}); };
            const auto length = [&] { return random.oneOf({-1e9F, 1.0F, 1e9F, 2147483520.0F}); };
            object.rect = {corner(), corner(), length(), length()};
        }
        const std::vector<Object> expected = reference::keepGreedily(objects, 0.3F);
        suppressed += objects.size() - expected.size();
        ai_orvo::model::nms(objects, 0.3F);
        ASSERT_TRUE(sameObjects(objects, expected));
    }
    EXPECT_GT(suppressed, 1000U);
}

TEST(ObjectNmsProperty, BoxesThatAreNoNumbersAreRoundedAlikeEverywhere) {
    Random random(17);
    std::size_t suppressed = 0;
    for (int i = 0; i < 300; ++i) {
        std::vector<Object> objects = crowd(random, 40);
        giveDistinctProbabilities(random, objects);
        for (Object& object : objects) {
            const auto corner = [&] { return random.chance(0.5) ? random.hostile() : -1.0F; };
            const auto length = [&] { return random.chance(0.5) ? random.hostile() : 100.0F; };
            object.rect = {corner(), corner(), length(), length()};
        }
        const std::vector<Object> expected = reference::keepGreedily(objects, 0.3F);
        suppressed += objects.size() - expected.size();
        ai_orvo::model::nms(objects, 0.3F);
        ASSERT_TRUE(sameObjects(objects, expected));
    }
    EXPECT_GT(suppressed, 100U);
}

}  // namespace
}  // namespace brellix::testing
