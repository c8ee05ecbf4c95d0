#include "common/planes.h"

#include <opencv2/core/hal/intrin.hpp>

#include <cstring>

namespace ai_orvo::model {
namespace {

#if CV_SIMD128
constexpr std::size_t kLanes = 4;

/// A pixel's three bytes and the one that follows them.
unsigned int pixelLane(const uchar* pixel) {
    unsigned int lane;
    std::memcpy(&lane, pixel, sizeof(lane));
    return lane;
}

/// Four neighbouring pixels. OpenCV's own look-up reads them as ints, which pixels are not aligned for; a
/// loop over an array goes through memory where the compiler does not unroll it, and takes three times as
/// long.
cv::v_uint32x4 pixelLanes(const uchar* pixels, std::size_t step) {
    return {pixelLane(pixels), pixelLane(pixels + step), pixelLane(pixels + 2 * step),
            pixelLane(pixels + 3 * step)};
}

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
    for (; x + kLanes < count; x += kLanes) {
        const cv::v_uint32x4 lanes = pixelLanes(pixels + x * step, step);
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
