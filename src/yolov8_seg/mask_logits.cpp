#include "yolov8_seg/mask_logits.h"

#include <opencv2/core/hal/intrin.hpp>

#include <cstddef>

namespace ai_orvo::model {
namespace {

/// sums[i] += coefficient * values[i]. The product of two floats is exact in double precision.
void addScaled(double* sums, const float* values, std::size_t count, float coefficient) {
    const auto factor = static_cast<double>(coefficient);
    std::size_t i = 0;
#if CV_SIMD128_64F
    const cv::v_float64x2 factors = cv::v_setall_f64(factor);
    for (; i + 4 <= count; i += 4) {
        const cv::v_float32x4 four = cv::v_load(values + i);
        cv::v_store(sums + i, cv::v_load(sums + i) + cv::v_cvt_f64(four) * factors);
        cv::v_store(sums + i + 2, cv::v_load(sums + i + 2) + cv::v_cvt_f64_high(four) * factors);
    }
#endif
    for (; i < count; ++i) {
        sums[i] += static_cast<double>(values[i]) * factor;
    }
}

}  // namespace

void maskLogits(const float* coefficients, const cv::Mat& prototypes, int pitch, const cv::Rect& window,
                std::vector<float>& logits) {
    const auto width = static_cast<std::size_t>(window.width);
    std::vector<double> sums(width);
    logits.clear();
    for (int y = window.y; y < window.y + window.height; ++y) {
        std::fill(sums.begin(), sums.end(), 0.0);
        const std::ptrdiff_t start = static_cast<std::ptrdiff_t>(y) * pitch + window.x;
        for (int plane = 0; plane < prototypes.rows; ++plane) {
            addScaled(sums.data(), prototypes.ptr<float>(plane) + start, width, coefficients[plane]);
        }
        for (const double sum : sums) {
            logits.push_back(static_cast<float>(sum));
        }
    }
}

}  // namespace ai_orvo::model
