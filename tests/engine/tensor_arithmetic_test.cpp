// The vectorised loops of the engine against their definitions, bit by bit.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "quantization/quantization.h"
#include "tensors/tensor_conversion.h"

namespace brellix::testing {
namespace {

using namespace ai_orvo::alg::common;

// Around the widths of vectors, and none at all.
constexpr std::size_t kCounts[] = {0, 1, 3, 4, 5, 15, 16, 17, 31, 33, 64, 1000, 1003};

/// Ordinary values, halves of steps, and what is no ordinary number.
std::vector<float> awkwardValues(std::size_t count, std::mt19937& generator) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kSpecial[] = {
        NAN,    -NAN,  kInfinity, -kInfinity, 0.0F, -0.0F, 3.402823466e38F, -3.402823466e38F,
        1e-40F, 0.25F, -0.25F,    0.75F,      1e9F, -1e9F, -64.25F,         63.75F};
    std::uniform_real_distribution<float> ordinary(-80.0F, 80.0F);
    std::vector<float> values(count);
    for (float& value : values) {
        const std::size_t choice = generator() % (4 * std::size(kSpecial));
        value = choice < std::size(kSpecial) ? kSpecial[choice] : ordinary(generator);
        if (choice % 3 == 0 && choice >= std::size(kSpecial)) {
            value = std::nearbyint(value * 4.0F) / 4.0F;
        }
    }
    return values;
}

std::int8_t quantizedByDefinition(float value, AffineGrid grid) {
    const float steps = value / grid.scale;
    if (std::isnan(steps)) {
        return static_cast<std::int8_t>(grid.zeroPoint);
    }
    const double rounded = std::nearbyint(static_cast<double>(steps)) + grid.zeroPoint;
    return static_cast<std::int8_t>(std::clamp(rounded, -128.0, 127.0));
}

TEST(EngineArithmetic, QuantizesAsDefined) {
    std::mt19937 generator(11);
    for (const std::size_t count : kCounts) {
        for (const AffineGrid grid :
             {AffineGrid{0.5F, 0}, {0.5F, -128}, {0.5F, 127}, {0.31F, 17}, {1e-38F, -3}, {1e30F, 5}}) {
            const std::vector<float> values = awkwardValues(count, generator);
            std::vector<std::int8_t> quantized(count + 1, 99);
            quantize(values.data(), count, grid, quantized.data());
            for (std::size_t i = 0; i < count; ++i) {
                ASSERT_EQ(quantized[i], quantizedByDefinition(values[i], grid))
                    << values[i] << " / " << grid.scale;
            }
            ASSERT_EQ(quantized[count], 99);
        }
    }
}

TEST(EngineArithmetic, FindsTheRangeOfTheFiniteValues) {
    std::mt19937 generator(12);
    for (const std::size_t count : kCounts) {
        std::vector<float> values = awkwardValues(count, generator);
        const ValueRange range = finiteRange(values.data(), count);
        values.erase(
            std::remove_if(values.begin(), values.end(), [](float value) { return !std::isfinite(value); }),
            values.end());
        const auto [least, most] = std::minmax_element(values.begin(), values.end());
        EXPECT_EQ(range.minimum, values.empty() ? 0.0F : *least) << count;
        EXPECT_EQ(range.maximum, values.empty() ? 0.0F : *most) << count;
    }
}

TEST(EngineArithmetic, HasAnEmptyRangeWhereNothingIsFinite) {
    const std::vector<float> values(19, NAN);
    const ValueRange range = finiteRange(values.data(), values.size());
    EXPECT_EQ(range.minimum, 0.0F);
    EXPECT_EQ(range.maximum, 0.0F);
}

TEST(EngineArithmetic, SplitsImagesIntoPlanesAsDefined) {
    std::mt19937 generator(13);
    for (const std::size_t count : kCounts) {
        std::vector<std::uint8_t> pixels(3 * count);
        std::generate(pixels.begin(), pixels.end(),
                      [&] { return static_cast<std::uint8_t>(generator() & 0xFFU); });
        std::vector<float> planes(3 * count + 1, -7.0F);
        imageToPlanes(pixels.data(), count, planes.data());
        for (std::size_t pixel = 0; pixel < count; ++pixel) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                ASSERT_EQ(planes[channel * count + pixel],
                          static_cast<float>(pixels[3 * pixel + channel]) * 0.003921569F);
            }
        }
        ASSERT_EQ(planes[3 * count], -7.0F);
    }
}

}  // namespace
}  // namespace brellix::testing
