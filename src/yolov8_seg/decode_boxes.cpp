// Candidates of one head. The float and the int8 form differ in how an element is read and compared, and in
// nothing else: each form is a small set of rules, and one loop serves both.

#include "brellix/quantization.h"
#include "brellix/yolov8_seg.h"
#include "common/numeric.h"
#include "common/tensors.h"

#include <cfloat>
#include <cstddef>
#include <cstdint>

namespace ai_orvo::model {
namespace {

/// Float tensors: scores are logits, everything is taken as it stands.
struct FloatHead {
    using Score = float;
    static constexpr Score kLowest = -FLT_MAX;

    FloatHead(const AIBuff& boxTensor, const AIBuff& scoreTensor, const AIBuff& coefTensor, float probability)
        : box(boxTensor), score(scoreTensor), maskCoef(coefTensor), threshold(unsigmoid(probability)) {}

    float boxLogit(std::size_t index) const { return box[index]; }
    float coefficient(std::size_t index) const { return maskCoef[index]; }
    float probability(Score best) const { return sigmoid(best); }

    FloatView box;
    FloatView score;
    FloatView maskCoef;
    Score threshold;
};

/// Int8 tensors: scores are compared as raw bytes.
struct Int8Head {
    using Score = std::int8_t;
    static constexpr Score kLowest = -128;

    Int8Head(const AIBuff& boxBuffer, const AIBuff& scoreBuffer, const AIBuff& coefBuffer, float probability)
        : box(boxBuffer),
          score(scoreBuffer),
          maskCoef(coefBuffer),
          threshold(
              static_cast<Score>(qntF32ToAffine(unsigmoid(probability), scoreBuffer.zp, scoreBuffer.scale))),
          boxTensor(boxBuffer),
          scoreTensor(scoreBuffer),
          coefTensor(coefBuffer) {}

    float boxLogit(std::size_t index) const {
        return deqntAffineToF32(box[index], boxTensor.zp, boxTensor.scale);
    }

    // Eight bits that wrap: networks are compiled with symmetric coefficients, whose zero point is 0.
    float coefficient(std::size_t index) const {
        const auto difference = static_cast<unsigned>(maskCoef[index]) - static_cast<unsigned>(coefTensor.zp);
        return static_cast<float>(static_cast<std::int8_t>(difference));
    }

    float probability(Score best) const {
        return sigmoid(deqntAffineToF32(best, scoreTensor.zp, scoreTensor.scale));
    }

    ByteView box;
    ByteView score;
    ByteView maskCoef;
    Score threshold;
    const AIBuff& boxTensor;
    const AIBuff& scoreTensor;
    const AIBuff& coefTensor;
};

struct Grid {
    int height;
    int width;
    int stride;
    int dflLen;

    std::size_t cells() const { return static_cast<std::size_t>(height) * static_cast<std::size_t>(width); }
};

/// Where candidates go.
struct Candidates {
    std::vector<cv::Rect_<int>>& boxes;
    std::vector<float>& maskCoefs;
    std::vector<float>& scores;
    std::vector<int>& classIds;
};

/// Whether every element that a cell of the grid may touch lies inside its tensor.
template <typename Head>
bool fits(const Head& head, const Grid& grid, int classNum, int coefCount) {
    if (grid.height < 1 || grid.width < 1 || grid.dflLen < 1 || classNum < 1 || coefCount < 0) {
        return false;
    }
    const auto holds = [&grid](std::size_t size, std::size_t channels) {
        return channels == 0 || size / channels >= grid.cells();
    };
    return holds(head.box.size(), 4 * static_cast<std::size_t>(grid.dflLen)) &&
           holds(head.score.size(), static_cast<std::size_t>(classNum)) &&
           holds(head.maskCoef.size(), static_cast<std::size_t>(coefCount));
}

template <typename Score>
struct BestClass {
    int id;  ///< -1 where no class exceeds the threshold
    Score score;
};

template <typename Head>
BestClass<typename Head::Score> bestClassOf(const Head& head, std::size_t cells, std::size_t cell,
                                            int classNum) {
    BestClass<typename Head::Score> best{-1, Head::kLowest};
    for (int id = 0; id < classNum; ++id) {
        const auto score = head.score[static_cast<std::size_t>(id) * cells + cell];
        if (score > head.threshold && score > best.score) {
            best = {id, score};
        }
    }
    return best;
}

/// One edge of a box in source pixels, inside [0, bound]. `position` is in cells; the half cell comes after
/// the distance, in double precision.
float sourceEdge(float position, int stride, float padding, float ratio, float bound) {
    const double netEdge = (static_cast<double>(position) + 0.5) * stride;
    const auto edge =
        static_cast<float>((netEdge - static_cast<double>(padding)) * static_cast<double>(ratio));
    return clampToBound(edge, bound);
}

template <typename Head>
cv::Rect_<int> boxOf(const Head& head, const Grid& grid, std::size_t cell, const LetterboxInfo& info) {
    std::vector<float> logits(4 * static_cast<std::size_t>(grid.dflLen));
    for (std::size_t channel = 0; channel < logits.size(); ++channel) {
        logits[channel] = head.boxLogit(channel * grid.cells() + cell);
    }
    float distance[4] = {};
    computeDfl(logits, grid.dflLen, distance);
    const auto gridW = static_cast<std::size_t>(grid.width);
    const std::size_t cellRow = cell / gridW;
    const auto column = static_cast<float>(cell % gridW);
    const auto row = static_cast<float>(cellRow);
    const float left = sourceEdge(column - distance[0], grid.stride, info.dw, info.ratio, info.src_width);
    const float top = sourceEdge(row - distance[1], grid.stride, info.dh, info.ratio, info.src_height);
    const float right = sourceEdge(column + distance[2], grid.stride, info.dw, info.ratio, info.src_width);
    const float bottom = sourceEdge(row + distance[3], grid.stride, info.dh, info.ratio, info.src_height);
    // The size comes from the edges before they are truncated: 3.6 to 7.5 is 3 wide, not 4.
    return {truncateToInt(left), truncateToInt(top), truncateToInt(right - left),
            truncateToInt(bottom - top)};
}

template <typename Head>
int decodeHead(const Head& head, const Grid& grid, const YOLOv8Seg& model, const Candidates& candidates) {
    if (!fits(head, grid, model.classNum, model.maskCoefCount)) {
        return 0;
    }
    const std::size_t cells = grid.cells();
    const auto coefCount = static_cast<std::size_t>(model.maskCoefCount);
    int appended = 0;
    for (std::size_t cell = 0; cell < cells; ++cell) {
        const auto best = bestClassOf(head, cells, cell, model.classNum);
        if (best.id < 0) {
            continue;
        }
        for (std::size_t k = 0; k < coefCount; ++k) {
            candidates.maskCoefs.push_back(head.coefficient(k * cells + cell));
        }
        candidates.boxes.push_back(boxOf(head, grid, cell, model.letterboxInfo));
        candidates.scores.push_back(head.probability(best.score));
        candidates.classIds.push_back(best.id);
        ++appended;
    }
    return appended;
}

}  // namespace

int YOLOv8Seg::decodeBoxes_fp32(AIBuff& box, AIBuff& score, AIBuff& maskCoef, int gridH, int gridW, int, int,
                                int stride, int dflLen, std::vector<cv::Rect_<int>>& boxes,
                                std::vector<float>& maskCoefs, std::vector<float>& scores,
                                std::vector<int>& classIds, float threshold) {
    return decodeHead(FloatHead(box, score, maskCoef, threshold), {gridH, gridW, stride, dflLen}, *this,
                      {boxes, maskCoefs, scores, classIds});
}

int YOLOv8Seg::decodeBoxes_i8(AIBuff& box, AIBuff& score, AIBuff& maskCoef, int gridH, int gridW, int, int,
                              int stride, int dflLen, std::vector<cv::Rect_<int>>& boxes,
                              std::vector<float>& maskCoefs, std::vector<float>& scores,
                              std::vector<int>& classIds, float threshold) {
    return decodeHead(Int8Head(box, score, maskCoef, threshold), {gridH, gridW, stride, dflLen}, *this,
                      {boxes, maskCoefs, scores, classIds});
}

}  // namespace ai_orvo::model
