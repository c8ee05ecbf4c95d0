#include "reference/seg_boxes.h"

#include "reference/dfl.h"
#include "reference/quantization.h"
#include "reference/rounding.h"
#include "reference/tensor_reading.h"

#include <cfloat>
#include <cstddef>
#include <cstdint>

namespace brellix::reference {

using ai_orvo::model::LetterboxInfo;

namespace {

/// The class that a cell is reported with, or label -1.
struct BestClass {
    int label;
    float probability;
};

std::size_t elementIndex(const SegHead& head, int channel, int row, int column) {
    const std::int64_t gridLen = static_cast<std::int64_t>(head.gridH) * head.gridW;
    const std::int64_t cell = static_cast<std::int64_t>(row) * head.gridW + column;
    return static_cast<std::size_t>(channel * gridLen + cell);
}

bool isComplete(const SegHead& head, std::size_t elementSize) {
    return head.gridH >= 1 && head.gridW >= 1 && head.dflLen >= 1 &&
           holdsElements(head.box, elementSize, {4, head.dflLen, head.gridH, head.gridW}) &&
           holdsElements(head.score, elementSize, {head.classNum, head.gridH, head.gridW}) &&
           holdsElements(head.maskCoef, elementSize, {head.maskCoefCount, head.gridH, head.gridW});
}

cv::Rect sourceBox(const float distances[4], int row, int column, int stride, const LetterboxInfo& info) {
    // The sum with the distance is single precision, what follows double, narrowed once at the end.
    const auto toSource = [&](float position, float padding) {
        const double net = (static_cast<double>(position) + 0.5) * stride;
        return static_cast<float>((net - static_cast<double>(padding)) * static_cast<double>(info.ratio));
    };
    const auto x = static_cast<float>(column);
    const auto y = static_cast<float>(row);
    const float x1 = limitToRange(toSource(x - distances[0], info.dw), info.src_width);
    const float y1 = limitToRange(toSource(y - distances[1], info.dh), info.src_height);
    const float x2 = limitToRange(toSource(x + distances[2], info.dw), info.src_width);
    const float y2 = limitToRange(toSource(y + distances[3], info.dh), info.src_height);
    return {truncateTowardZero(x1), truncateTowardZero(y1), truncateTowardZero(x2 - x1),
            truncateTowardZero(y2 - y1)};
}

/// What both element types share; `bestOf(row, column)`, `coefAt(k, row, column)` and
/// `boxAt(channel, row, column)` read the tensors.
template <typename BestOf, typename CoefAt, typename BoxAt>
int decodeCells(const SegHead& head, const LetterboxInfo& letterbox, SegCandidates& candidates, BestOf bestOf,
                CoefAt coefAt, BoxAt boxAt) {
    int count = 0;
    for (int row = 0; row < head.gridH; ++row) {
        for (int column = 0; column < head.gridW; ++column) {
            const BestClass best = bestOf(row, column);
            if (best.label < 0) {
                continue;
            }
            for (int k = 0; k < head.maskCoefCount; ++k) {
                candidates.maskCoefs.push_back(coefAt(k, row, column));
            }
            std::vector<float> logits;
            for (int channel = 0; channel < 4 * head.dflLen; ++channel) {
                logits.push_back(boxAt(channel, row, column));
            }
            float distances[4] = {};
            computeDfl(logits, head.dflLen, distances);
            candidates.boxes.push_back(sourceBox(distances, row, column, head.stride, letterbox));
            candidates.scores.push_back(best.probability);
            candidates.classIds.push_back(best.label);
            ++count;
        }
    }
    return count;
}

}  // namespace

int decodeSegHeadFloat(const SegHead& head, const LetterboxInfo& letterbox, float threshold,
                       SegCandidates& candidates) {
    if (!isComplete(head, sizeof(float))) {
        return 0;
    }
    const float rawThreshold = unsigmoid(threshold);
    const auto bestOf = [&](int row, int column) {
        float best = -FLT_MAX;
        int label = -1;
        for (int c = 0; c < head.classNum; ++c) {
            const float s = floatElement(head.score, elementIndex(head, c, row, column));
            if (s > rawThreshold && s > best) {
                best = s;
                label = c;
            }
        }
        return BestClass{label, sigmoid(best)};
    };
    const auto coefAt = [&](int k, int row, int column) {
        return floatElement(head.maskCoef, elementIndex(head, k, row, column));
    };
    const auto boxAt = [&](int channel, int row, int column) {
        return floatElement(head.box, elementIndex(head, channel, row, column));
    };
    return decodeCells(head, letterbox, candidates, bestOf, coefAt, boxAt);
}

int decodeSegHeadInt8(const SegHead& head, const LetterboxInfo& letterbox, float threshold,
                      SegCandidates& candidates) {
    if (!isComplete(head, sizeof(std::int8_t))) {
        return 0;
    }
    const auto quantizedThreshold =
        static_cast<std::int8_t>(quantize(unsigmoid(threshold), head.score.zp, head.score.scale));
    const auto bestOf = [&](int row, int column) {
        std::int8_t best = -128;
        int label = -1;
        for (int c = 0; c < head.classNum; ++c) {
            const std::int8_t s = byteElement(head.score, elementIndex(head, c, row, column));
            if (s > quantizedThreshold && s > best) {
                best = s;
                label = c;
            }
        }
        return BestClass{label, sigmoid(dequantize(best, head.score.zp, head.score.scale))};
    };
    const auto coefAt = [&](int k, int row, int column) {
        const std::int8_t raw = byteElement(head.maskCoef, elementIndex(head, k, row, column));
        // Wraps around in 8 bits, and the scale is not applied.
        const auto difference =
            static_cast<std::uint32_t>(raw) - static_cast<std::uint32_t>(head.maskCoef.zp);
        return static_cast<float>(static_cast<std::int8_t>(static_cast<std::uint8_t>(difference)));
    };
    const auto boxAt = [&](int channel, int row, int column) {
        const std::int8_t raw = byteElement(head.box, elementIndex(head, channel, row, column));
        return dequantize(raw, head.box.zp, head.box.scale);
    };
    return decodeCells(head, letterbox, candidates, bestOf, coefAt, boxAt);
}

}  // namespace brellix::reference
