#include "common/planes.h"

#include <opencv2/core/hal/intrin.hpp>

namespace ai_orvo::model {
namespace {

#if CV_SIMD128
constexpr std::size_t kLanes = 16;

/// Sixteen bytes as floats.
void storeUnitValues(const cv::v_uint8x16& bytes, const cv::v_float32x4& scale, float* values) {
    cv::v_uint16x8 halves[2];
    cv::v_uint32x4 quarters[4];
    cv::v_expand(bytes, halves[0], halves[1]);
    cv::v_expand(halves[0], quarters[0], quarters[1]);
    cv::v_expand(halves[1], quarters[2], quarters[3]);
    for (int i = 0; i < 4; ++i) {
        cv::v_store(values + 4 * i, cv::v_cvt_f32(cv::v_reinterpret_as_s32(quarters[i])) * scale);
    }
}
#endif

}  // namespace

void splitToUnitPlanes(const uchar* pixels, std::size_t count, const std::array<float*, 3>& planes) {
    std::size_t x = 0;
#if CV_SIMD128
    const cv::v_float32x4 scale = cv::v_setall_f32(kUnitScale);
    for (; x + kLanes <= count; x += kLanes) {
        cv::v_uint8x16 channels[3];
        cv::v_load_deinterleave(pixels + 3 * x, channels[0], channels[1], channels[2]);
        for (std::size_t channel = 0; channel < planes.size(); ++channel) {
            storeUnitValues(channels[channel], scale, planes[channel] + x);
        }
    }
#endif
    for (; x < count; ++x) {
        for (std::size_t channel = 0; channel < planes.size(); ++channel) {
            planes[channel][x] = unitValue(pixels[3 * x + channel]);
        }
    }
}

}  // namespace ai_orvo::model
