// The logistic function, its inverse, clipping and 8-bit values against the references: any floats and zero
// points.

#include "reference/quantization.h"
#include "support/comparison.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"

#include "brellix/quantization.h"

#include <cmath>

namespace brellix::fuzz {
namespace {

namespace model = ai_orvo::model;

/// Zeros of both signs stand for the same value.
bool sameValue(float a, float b) {
    return a == b || testing::sameFloat(a, b);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedData data(bytes, size);
    const float value = data.number();
    const float low = data.number();
    const float high = data.number();
    const float scale = data.oddNumber(0.001F, 0.5F);
    const int zeroPoint = data.oddInteger(-128, 127);
    const auto byte = static_cast<std::int8_t>(data.byte());
    require(sameValue(model::sigmoid(value), reference::sigmoid(value)), "sigmoid");
    require(sameValue(model::unsigmoid(value), reference::unsigmoid(value)), "unsigmoid");
    require(model::__clip(value, low, high) == reference::clip(value, low, high), "clip");
    require(model::qntF32ToAffine(value, zeroPoint, scale) == reference::quantize(value, zeroPoint, scale),
            "quantize");
    require(sameValue(model::deqntAffineToF32(byte, zeroPoint, scale),
                      reference::dequantize(byte, zeroPoint, scale)),
            "dequantize");
    return 0;
}

}  // namespace brellix::fuzz
