#include "common/best_scores.h"

#include <opencv2/core/hal/intrin.hpp>

namespace ai_orvo::model {
namespace {

/// The greater of each pair; `best` where `score` is NaN, which a plain maximum does not promise everywhere.
void raise(const float* scores, std::size_t count, float* best) {
    std::size_t i = 0;
#if CV_SIMD128
    for (; i + 8 <= count; i += 8) {
        const cv::v_float32x4 score0 = cv::v_load(scores + i);
        const cv::v_float32x4 score1 = cv::v_load(scores + i + 4);
        const cv::v_float32x4 best0 = cv::v_load(best + i);
        const cv::v_float32x4 best1 = cv::v_load(best + i + 4);
        cv::v_store(best + i, cv::v_select(score0 > best0, score0, best0));
        cv::v_store(best + i + 4, cv::v_select(score1 > best1, score1, best1));
    }
#endif
    for (; i < count; ++i) {
        best[i] = scores[i] > best[i] ? scores[i] : best[i];
    }
}

void raise(const std::int8_t* scores, std::size_t count, std::int8_t* best) {
    std::size_t i = 0;
#if CV_SIMD128
    for (; i + 16 <= count; i += 16) {
        cv::v_store(best + i, cv::v_max(cv::v_load(scores + i), cv::v_load(best + i)));
    }
#endif
    for (; i < count; ++i) {
        best[i] = scores[i] > best[i] ? scores[i] : best[i];
    }
}

template <typename Score>
void raiseAll(const Score* scores, std::size_t pitch, int planes, std::size_t count, Score* best) {
    for (int plane = 0; plane < planes; ++plane) {
        raise(scores + static_cast<std::size_t>(plane) * pitch, count, best);
    }
}

}  // namespace

void raiseToBestScores(const float* scores, std::size_t pitch, int planes, std::size_t count, float* best) {
    raiseAll(scores, pitch, planes, count, best);
}

void raiseToBestScores(const std::int8_t* scores, std::size_t pitch, int planes, std::size_t count,
                       std::int8_t* best) {
    raiseAll(scores, pitch, planes, count, best);
}

}  // namespace ai_orvo::model
