#include "yolov8_seg/mask_logits.h"

#include <opencv2/core/hal/intrin.hpp>

#include <cstddef>

namespace ai_orvo::model {
namespace {

/// A line of one prototype plane and of those after it.
struct PlaneLines {
    const float* first;
    std::ptrdiff_t planePitch;
    int planes;
};

/// The sum of coefficients[plane] * value of each plane's line. The product of two floats is exact in double
/// precision.
float sumOf(const PlaneLines& lines, const float* coefficients, std::size_t index) {
    double sum = 0.0;
    const float* value = lines.first + index;
    for (int plane = 0; plane < lines.planes; ++plane, value += lines.planePitch) {
        sum += static_cast<double>(*value) * static_cast<double>(coefficients[plane]);
    }
    return static_cast<float>(sum);
}

#if CV_SIMD128_64F
constexpr std::size_t kLanes = 8;

/// The same for eight values side by side.
void sumEight(const PlaneLines& lines, const float* coefficients, std::size_t index, float* logits) {
    cv::v_float64x2 sums[4] = {cv::v_setzero_f64(), cv::v_setzero_f64(), cv::v_setzero_f64(),
                               cv::v_setzero_f64()};
    const float* values = lines.first + index;
    for (int plane = 0; plane < lines.planes; ++plane, values += lines.planePitch) {
        const cv::v_float64x2 factor = cv::v_setall_f64(static_cast<double>(coefficients[plane]));
        const cv::v_float32x4 low = cv::v_load(values);
        const cv::v_float32x4 high = cv::v_load(values + 4);
        sums[0] += cv::v_cvt_f64(low) * factor;
        sums[1] += cv::v_cvt_f64_high(low) * factor;
        sums[2] += cv::v_cvt_f64(high) * factor;
        sums[3] += cv::v_cvt_f64_high(high) * factor;
    }
    cv::v_store(logits + index, cv::v_cvt_f32(sums[0], sums[1]));
    cv::v_store(logits + index + 4, cv::v_cvt_f32(sums[2], sums[3]));
}
#endif

void sumLine(const PlaneLines& lines, const float* coefficients, std::size_t count, float* logits) {
#if CV_SIMD128_64F
    if (count >= kLanes) {
        for (std::size_t i = 0; i < count - kLanes; i += kLanes) {
            sumEight(lines, coefficients, i, logits);
        }
        // The last eight, some of them for the second time.
        sumEight(lines, coefficients, count - kLanes, logits);
        return;
    }
#endif
    for (std::size_t i = 0; i < count; ++i) {
        logits[i] = sumOf(lines, coefficients, i);
    }
}

}  // namespace

void maskLogits(const float* coefficients, const cv::Mat& prototypes, int pitch, const cv::Rect& window,
                std::vector<float>& logits) {
    const auto width = static_cast<std::size_t>(window.width);
    logits.resize(width * static_cast<std::size_t>(window.height));
    const auto planePitch = static_cast<std::ptrdiff_t>(prototypes.step[0] / sizeof(float));
    float* line = logits.data();
    for (int y = window.y; y < window.y + window.height; ++y, line += width) {
        const std::ptrdiff_t start = static_cast<std::ptrdiff_t>(y) * pitch + window.x;
        sumLine({prototypes.ptr<float>() + start, planePitch, prototypes.rows}, coefficients, width, line);
    }
}

}  // namespace ai_orvo::model
