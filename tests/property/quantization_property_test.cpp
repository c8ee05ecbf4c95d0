#include "reference/quantization.h"
#include "support/comparison.h"
#include "support/random.h"

#include "brellix/quantization.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <set>

namespace brellix::testing {
namespace {

namespace model = ai_orvo::model;

float anyValue(Random& random) {
    return random.chance(0.2) ? random.hostile() : random.real(-200.0F, 200.0F);
}

int anyZeroPoint(Random& random) {
    return random.oneOf({0, -128, 127, random.integer(-128, 127), std::numeric_limits<int>::min(),
                         std::numeric_limits<int>::max()});
}

float anyScale(Random& random) {
    return random.oneOf(
        {1.0F, 0.1F, random.real(0.001F, 0.5F), random.real(-0.5F, 0.0F), 0.0F, random.hostile()});
}

TEST(QuantizationProperty, TheLogisticFunctionAndItsInverseGiveTheBitsOfTheReference) {
    Random random(61);
    for (int i = 0; i < 20000; ++i) {
        const float logit = random.chance(0.1) ? random.hostile() : random.real(-110.0F, 110.0F);
        ASSERT_PRED2(sameFloat, model::sigmoid(logit), reference::sigmoid(logit)) << logit;
        const float probability = random.chance(0.1) ? random.hostile() : random.real(-0.1F, 1.1F);
        ASSERT_PRED2(sameFloat, model::unsigmoid(probability), reference::unsigmoid(probability))
            << probability;
    }
}

TEST(QuantizationProperty, QuantisingGivesTheStepOfTheReference) {
    Random random(62);
    std::set<int> steps;
    for (int i = 0; i < 20000; ++i) {
        const float value = anyValue(random);
        const int zeroPoint = anyZeroPoint(random);
        const float scale = anyScale(random);
        const int expected = reference::quantize(value, zeroPoint, scale);
        ASSERT_EQ(model::qntF32ToAffine(value, zeroPoint, scale), expected)
            << value << ", zero point " << zeroPoint << ", scale " << scale;
        steps.insert(expected);
    }
    EXPECT_EQ(steps.size(), 256U);
}

TEST(QuantizationProperty, DequantisingGivesTheBitsOfTheReference) {
    Random random(63);
    for (int q = -128; q <= 127; ++q) {
        for (int i = 0; i < 50; ++i) {
            const int zeroPoint = anyZeroPoint(random);
            const float scale = anyScale(random);
            const auto byte = static_cast<std::int8_t>(q);
            ASSERT_PRED2(sameFloat, model::deqntAffineToF32(byte, zeroPoint, scale),
                         reference::dequantize(byte, zeroPoint, scale))
                << q << ", zero point " << zeroPoint << ", scale " << scale;
        }
    }
}

TEST(QuantizationProperty, ClippingGivesTheIntegerOfTheReference) {
    Random random(64);
    for (int i = 0; i < 20000; ++i) {
        const float value = anyValue(random);
        const float low = anyValue(random);
        const float high = anyValue(random);
        ASSERT_EQ(model::__clip(value, low, high), reference::clip(value, low, high))
            << value << " in " << low << " to " << high;
    }
}

}  // namespace
}  // namespace brellix::testing
