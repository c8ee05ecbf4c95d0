#include "common/best_scores.h"

#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <array>

namespace ai_orvo::model {
namespace {

/// So many planes are looked at before the best scores are stored again: one plane at a time would read and
/// write them as often as the planes themselves.
constexpr std::size_t kPlanes = 8;

template <typename Score>
using PlaneRows = std::array<const Score*, kPlanes>;

/// `score` where it is greater than `best`. A NaN is not.
template <typename Score>
Score greater(Score score, Score best) {
    return score > best ? score : best;
}

#if CV_SIMD128
cv::v_float32x4 greater(const cv::v_float32x4& score, const cv::v_float32x4& best) {
#if CV_SSE
    // This processor's maximum is the second operand where one of both is NaN; others promise something else.
    return cv::v_max(score, best);
#else
    return cv::v_select(score > best, score, best);
#endif
}

/// Signed bytes with their sign bit flipped: so unsigned order is theirs. Every processor has a maximum of
/// unsigned bytes; SSE2 has none of signed ones.
cv::v_uint8x16 biased(const std::int8_t* bytes) {
    return cv::v_reinterpret_as_u8(cv::v_load(bytes)) ^ cv::v_setall_u8(0x80);
}
#endif

/// Raises the first multiple of a vector's lanes. \return how many that were.
std::size_t raiseVectors(const PlaneRows<float>& rows, std::size_t count, float* best) {
    std::size_t i = 0;
#if CV_SIMD128
    for (; i + 8 <= count; i += 8) {
        cv::v_float32x4 best0 = cv::v_load(best + i);
        cv::v_float32x4 best1 = cv::v_load(best + i + 4);
        for (const float* row : rows) {
            best0 = greater(cv::v_load(row + i), best0);
            best1 = greater(cv::v_load(row + i + 4), best1);
        }
        cv::v_store(best + i, best0);
        cv::v_store(best + i + 4, best1);
    }
#endif
    return i;
}

std::size_t raiseVectors(const PlaneRows<std::int8_t>& rows, std::size_t count, std::int8_t* best) {
    std::size_t i = 0;
#if CV_SIMD128
    for (; i + 16 <= count; i += 16) {
        cv::v_uint8x16 highest = biased(best + i);
        for (const std::int8_t* row : rows) {
            highest = cv::v_max(highest, biased(row + i));
        }
        cv::v_store(best + i, cv::v_reinterpret_as_s8(highest ^ cv::v_setall_u8(0x80)));
    }
#endif
    return i;
}

template <typename Score>
void raiseAll(const Score* scores, std::size_t pitch, int planes, std::size_t count, Score* best) {
    const auto planeCount = static_cast<std::size_t>(planes < 0 ? 0 : planes);
    for (std::size_t plane = 0; plane < planeCount; plane += kPlanes) {
        PlaneRows<Score> rows;
        for (std::size_t k = 0; k < kPlanes; ++k) {
            // Where the planes run out the last one is looked at again.
            rows[k] = scores + (plane + k < planeCount ? plane + k : planeCount - 1) * pitch;
        }
        for (std::size_t i = raiseVectors(rows, count, best); i < count; ++i) {
            for (const Score* row : rows) {
                best[i] = greater(row[i], best[i]);
            }
        }
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

std::size_t indexOfHighest(const std::int8_t* scores, std::size_t count) {
    std::int8_t highest = scores[0];
    std::size_t i = 0;
#if CV_SIMD128
    cv::v_uint8x16 highestOfLanes = cv::v_setzero_u8();
    for (; i + 16 <= count; i += 16) {
        highestOfLanes = cv::v_max(highestOfLanes, biased(scores + i));
    }
    if (i != 0) {
        highest = static_cast<std::int8_t>(cv::v_reduce_max(highestOfLanes) ^ 0x80U);
    }
#endif
    for (; i < count; ++i) {
        highest = greater(scores[i], highest);
    }
    return static_cast<std::size_t>(std::find(scores, scores + count, highest) - scores);
}

CellIndices indicesOfHighest(const std::int8_t* scores, std::size_t pitch, int planes) {
    CellIndices indices{};
#if CV_SIMD128
    cv::v_int8x16 highest = cv::v_load(scores);
    cv::v_uint8x16 highestIndex = cv::v_setzero_u8();
    for (int plane = 1; plane < planes; ++plane) {
        scores += pitch;
        const cv::v_int8x16 score = cv::v_load(scores);
        const cv::v_int8x16 isHigher = score > highest;
        highest = cv::v_select(isHigher, score, highest);
        highestIndex = cv::v_select(cv::v_reinterpret_as_u8(isHigher),
                                    cv::v_setall_u8(static_cast<std::uint8_t>(plane)), highestIndex);
    }
    cv::v_store(indices.data(), highestIndex);
#else
    for (std::size_t cell = 0; cell < kIndexedCells; ++cell) {
        std::int8_t highest = scores[cell];
        for (int plane = 1; plane < planes; ++plane) {
            const std::int8_t score = scores[static_cast<std::size_t>(plane) * pitch + cell];
            if (score > highest) {
                highest = score;
                indices[cell] = static_cast<std::uint8_t>(plane);
            }
        }
    }
#endif
    return indices;
}

}  // namespace ai_orvo::model
