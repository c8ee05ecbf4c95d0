#include "tensor_conversion.h"

namespace ai_orvo::alg::common {
namespace {

/// The models scale their own float blobs by this very factor; dividing by 255 would give other bits.
constexpr float kOneOver255 = 0.003921569F;

}  // namespace

void imageToPlanes(const std::uint8_t* pixels, std::size_t pixelCount, float* planes) {
    float* const first = planes;
    float* const second = planes + pixelCount;
    float* const third = planes + 2 * pixelCount;
    for (std::size_t i = 0; i < pixelCount; ++i) {
        first[i] = static_cast<float>(pixels[3 * i]) * kOneOver255;
        second[i] = static_cast<float>(pixels[3 * i + 1]) * kOneOver255;
        third[i] = static_cast<float>(pixels[3 * i + 2]) * kOneOver255;
    }
}

}  // namespace ai_orvo::alg::common
