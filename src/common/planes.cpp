#include "common/planes.h"

#include <opencv2/core/hal/intrin.hpp>

namespace ai_orvo::model {
namespace {

#if CV_SIMD128
constexpr std::size_t kLanes = 4;

/// The lowest byte of each lane as a value from 0 to 1.
cv::v_float32x4 unitValues(const cv::v_uint32x4& lanes) {
    const cv::v_uint32x4 bytes = lanes & cv::v_setall_u32(0xFF);
    return cv::v_cvt_f32(cv::v_reinterpret_as_s32(bytes)) * cv::v_setall_f32(kUnitScale);
}
#endif

}  // namespace

void splitToUnitPlanes(const uchar* pixels, std::size_t step, std::size_t count,
                       const std::array<float*, 3>& planes) {
    std::size_t x = 0;
#if CV_SIMD128
    // A pixel a lane: four bytes are read for three, so that the last pixel, after which there may be no
    // more, has to wait.
    const auto stride = static_cast<int>(step);
    const int offsets[kLanes] = {0, stride, 2 * stride, 3 * stride};
    for (; x + kLanes < count; x += kLanes) {
        const cv::v_uint32x4 lanes = cv::v_reinterpret_as_u32(cv::v_lut_quads(pixels + x * step, offsets));
        cv::v_store(planes[0] + x, unitValues(lanes));
        cv::v_store(planes[1] + x, unitValues(lanes >> 8));
        cv::v_store(planes[2] + x, unitValues(lanes >> 16));
    }
#endif
    for (; x < count; ++x) {
        for (std::size_t channel = 0; channel < planes.size(); ++channel) {
            planes[channel][x] = unitValue(pixels[step * x + channel]);
        }
    }
}

}  // namespace ai_orvo::model
