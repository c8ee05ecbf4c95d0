#include "tensors/tensor_conversion.h"

#include <opencv2/core/hal/intrin.hpp>

namespace ai_orvo::alg::common {
namespace {

/// The models scale their own float blobs by this very factor; dividing by 255 would give other bits.
constexpr float kOneOver255 = 0.003921569F;

constexpr std::size_t kPixelsAtOnce = 16;

/// Sixteen bytes become floats.
void storeScaled(const cv::v_uint8x16& bytes, const cv::v_float32x4& factor, float* values) {
    cv::v_uint16x8 halves[2];
    cv::v_expand(bytes, halves[0], halves[1]);
    for (const cv::v_uint16x8& half : halves) {
        cv::v_uint32x4 front;
        cv::v_uint32x4 back;
        cv::v_expand(half, front, back);
        cv::v_store(values, cv::v_cvt_f32(cv::v_reinterpret_as_s32(front)) * factor);
        cv::v_store(values + 4, cv::v_cvt_f32(cv::v_reinterpret_as_s32(back)) * factor);
        values += 8;
    }
}

}  // namespace

void imageToPlanes(const std::uint8_t* pixels, std::size_t pixelCount, float* planes) {
    float* const first = planes;
    float* const second = planes + pixelCount;
    float* const third = planes + 2 * pixelCount;
    const cv::v_float32x4 factor = cv::v_setall_f32(kOneOver255);
    std::size_t i = 0;
    for (; i + kPixelsAtOnce <= pixelCount; i += kPixelsAtOnce) {
        cv::v_uint8x16 channels[3];
        cv::v_load_deinterleave(pixels + 3 * i, channels[0], channels[1], channels[2]);
        storeScaled(channels[0], factor, first + i);
        storeScaled(channels[1], factor, second + i);
        storeScaled(channels[2], factor, third + i);
    }
    for (; i < pixelCount; ++i) {
        first[i] = static_cast<float>(pixels[3 * i]) * kOneOver255;
        second[i] = static_cast<float>(pixels[3 * i + 1]) * kOneOver255;
        third[i] = static_cast<float>(pixels[3 * i + 2]) * kOneOver255;
    }
}

}  // namespace ai_orvo::alg::common
