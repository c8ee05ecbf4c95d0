// Activation, quantisation and the engine's own conversions.

#include "identity/record.h"
#include "identity/seeded.h"

#include "brellix/quantization.h"
#include "brellix/yolov8_seg.h"
#include "quantization/quantization.h"
#include "tensors/tensor_conversion.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace brellix::testing {
namespace {

namespace engine = ai_orvo::alg::common;
namespace model = ai_orvo::model;

/// Floats from all over their range, NaN and infinities among them: every so many bit patterns one.
std::vector<float> floatsOfEveryKind() {
    constexpr std::uint32_t kStep = 40009;  // a prime, so that the low bits vary, too
    std::vector<float> values;
    for (std::uint64_t bits = 0; bits <= 0xffffffffU; bits += kStep) {
        const auto pattern = static_cast<std::uint32_t>(bits);
        float value = 0.0F;
        std::memcpy(&value, &pattern, sizeof value);
        values.push_back(value);
    }
    return values;
}

TEST(ArithmeticIdentity, Activation) {
    Digest sigmoid;
    Digest unsigmoid;
    for (const float value : floatsOfEveryKind()) {
        sigmoid.add(model::sigmoid(value));
        unsigmoid.add(model::unsigmoid(value));
    }
    EXPECT_TRUE(Record::instance().agrees("arithmetic.sigmoid", sigmoid));
    EXPECT_TRUE(Record::instance().agrees("arithmetic.unsigmoid", unsigmoid));
}

TEST(ArithmeticIdentity, Quantization) {
    Seeded seeded(11);
    Digest digest;
    for (int i = 0; i < 20000; ++i) {
        const float value = seeded.oneIn(10) ? seeded.hostile() : seeded.real(-30.0F, 30.0F);
        const float scale = seeded.oneIn(20) ? seeded.hostile() : seeded.real(0.001F, 0.5F);
        const int zeroPoint = seeded.integer(-140, 140);
        digest.add(model::qntF32ToAffine(value, zeroPoint, scale));
        digest.add(model::deqntAffineToF32(seeded.bytes(1)[0], zeroPoint, scale));
        digest.add(model::__clip(value, -100.5F, scale * 100.0F));
    }
    EXPECT_TRUE(Record::instance().agrees("arithmetic.quantization", digest));
}

TEST(ArithmeticIdentity, Dfl) {
    Seeded seeded(12);
    Digest digest;
    for (int i = 0; i < 2000; ++i) {
        const int bins = seeded.oneOf({1, 2, 7, 16, 16, 33});
        const float reach = seeded.oneOf({0.5F, 4.0F, 40.0F, 120.0F});
        std::vector<float> logits = seeded.reals(static_cast<std::size_t>(4 * bins), -reach, reach);
        float distances[4] = {};
        model::computeDfl(logits, bins, distances);
        for (const float distance : distances) {
            digest.add(distance);
        }
    }
    EXPECT_TRUE(Record::instance().agrees("arithmetic.dfl", digest));
}

TEST(ArithmeticIdentity, EngineConversions) {
    Seeded seeded(13);
    Digest planes;
    Digest quantized;
    for (const std::size_t count : {1U, 3U, 15U, 16U, 17U, 1003U, 20000U}) {
        std::vector<float> values = seeded.reals(count * 3, -8.0F, 12.0F);
        values[seeded.draw() % values.size()] = seeded.hostile();
        const std::vector<std::int8_t> pixels = seeded.bytes(count * 3);
        std::vector<float> picture(count * 3);
        engine::imageToPlanes(reinterpret_cast<const std::uint8_t*>(pixels.data()), count, picture.data());
        planes.add(picture);

        const engine::ValueRange range = engine::finiteRange(values.data(), values.size());
        for (const engine::AffineGrid grid : {engine::affineGrid(range), engine::symmetricGrid(range)}) {
            quantized.add(grid.scale);
            quantized.add(grid.zeroPoint);
            std::vector<std::int8_t> bytes(values.size());
            engine::quantize(values.data(), values.size(), grid, bytes.data());
            quantized.add(bytes);
            std::vector<float> snapped = values;
            engine::snapToGrid(snapped.data(), snapped.size(), grid);
            quantized.add(snapped);
        }
    }
    EXPECT_TRUE(Record::instance().agrees("engine.picture_to_planes", planes));
    EXPECT_TRUE(Record::instance().agrees("engine.quantization", quantized));
}

}  // namespace
}  // namespace brellix::testing
