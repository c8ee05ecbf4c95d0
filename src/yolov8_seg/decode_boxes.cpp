// The float and the int8 form differ in how an element is read and compared, and in nothing else: each form
// is a small set of rules, and one loop serves both.

#include "yolov8_seg/decode_boxes.h"

#include "brellix/quantization.h"
#include "common/best_scores.h"
#include "common/byte_table.h"
#include "common/numeric.h"
#include "common/tensors.h"
#include "yolov8_seg/dfl.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <memory>

namespace ai_orvo::model {
namespace {

float exponentialOf(float value) {
    return std::exp(value);
}

/// Float tensors: scores are logits, everything is taken as it stands.
class FloatHead {
  public:
    using Score = float;

    FloatHead(const SegHead& head, float probability)
        : box(head.box), score(head.score), maskCoef(head.maskCoef), threshold_(unsigmoid(probability)) {}

    /// What a score has to exceed: the threshold, but no less than the lowest float.
    Score floor() const { return threshold_ < -FLT_MAX ? -FLT_MAX : threshold_; }

    const Score* scores() const { return score.data(); }

    float exponential(std::size_t index) const { return exponentialOf(box[index]); }

    float probability(Score best) const { return sigmoid(best); }

    FloatView box;
    FloatView score;
    FloatView maskCoef;

  private:
    Score threshold_;
};

/// Int8 tensors: scores are compared as raw bytes.
class Int8Head {
  public:
    using Score = std::int8_t;

    Int8Head(const SegHead& head, float probability)
        : box(head.box),
          score(head.score),
          maskCoef(head.maskCoef),
          threshold_(
              static_cast<Score>(qntF32ToAffine(unsigmoid(probability), head.score.zp, head.score.scale))),
          scoreZp_(head.score.zp),
          scoreScale_(head.score.scale),
          exponentials_(byteTable(exponentialOf, head.box.zp, head.box.scale)) {}

    Score floor() const { return threshold_; }

    const Score* scores() const { return score.data(); }

    float exponential(std::size_t index) const { return (*exponentials_)[box[index]]; }

    float probability(Score best) const { return sigmoid(deqntAffineToF32(best, scoreZp_, scoreScale_)); }

    ByteView box;
    ByteView score;
    ByteView maskCoef;

  private:
    Score threshold_;
    int scoreZp_;
    float scoreScale_;
    std::shared_ptr<const ByteTable> exponentials_;
};

/// Whether every element that a cell of the grid may touch lies inside its tensor.
template <typename Head>
bool fits(const Head& head, const SegGrid& grid, int classNum, int coefCount) {
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

/// The lowest class with this score in this cell; there is one.
template <typename Head>
int classWithScore(const Head& head, std::size_t cells, std::size_t cell, typename Head::Score score) {
    int id = 0;
    while (head.score[static_cast<std::size_t>(id) * cells + cell] != score) {
        ++id;
    }
    return id;
}

/// One edge of a box in source pixels, inside [0, bound]. `position` is in cells; the half cell comes after
/// the distance, in double precision.
float sourceEdge(float position, int stride, float padding, float ratio, float bound) {
    const double netEdge = (static_cast<double>(position) + 0.5) * stride;
    const auto edge =
        static_cast<float>((netEdge - static_cast<double>(padding)) * static_cast<double>(ratio));
    return clampToBound(edge, bound);
}

cv::Rect_<int> boxFrom(const std::array<float, 4>& distance, const SegGrid& grid, std::size_t cell,
                       const LetterboxInfo& info) {
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

/// The bins of a box's four sides.
using BoxBins = std::vector<DflBin<4>>;

/// \param exponentials room for the bins.
template <typename Head>
std::array<float, 4> distancesOf(const Head& head, const SegGrid& grid, std::size_t cell,
                                 BoxBins& exponentials) {
    for (std::size_t side = 0; side < 4; ++side) {
        for (std::size_t bin = 0; bin < exponentials.size(); ++bin) {
            const std::size_t channel = side * exponentials.size() + bin;
            exponentials[bin][side] = head.exponential(channel * grid.cells() + cell);
        }
    }
    return expectationsOf(exponentials);
}

template <typename Head>
int decodeHead(Head head, const YOLOv8Seg& model, const SegGrid& grid, const SegCandidateLists& lists) {
    using Score = typename Head::Score;
    // So many cells' best scores stay in the fastest cache while the planes go by.
    constexpr std::size_t kBlock = 1024;
    if (!fits(head, grid, model.classNum, model.maskCoefCount)) {
        return 0;
    }
    const std::size_t cells = grid.cells();
    BoxBins exponentials(static_cast<std::size_t>(grid.dflLen));
    std::array<Score, kBlock> best;
    int appended = 0;
    for (std::size_t first = 0; first < cells; first += kBlock) {
        const std::size_t count = std::min(kBlock, cells - first);
        std::fill_n(best.begin(), count, head.floor());
        raiseToBestScores(head.scores() + first, cells, model.classNum, count, best.data());
        for (std::size_t i = 0; i < count; ++i) {
            if (!(best[i] > head.floor())) {
                continue;
            }
            const std::size_t cell = first + i;
            lists.boxes.push_back(
                boxFrom(distancesOf(head, grid, cell, exponentials), grid, cell, model.letterboxInfo));
            lists.scores.push_back(head.probability(best[i]));
            lists.classIds.push_back(classWithScore(head, cells, cell, best[i]));
            lists.cells.push_back(cell);
            ++appended;
        }
    }
    return appended;
}

}  // namespace

int decodeFloatHead(const YOLOv8Seg& model, const SegHead& head, const SegGrid& grid, float threshold,
                    const SegCandidateLists& lists) {
    return decodeHead(FloatHead(head, threshold), model, grid, lists);
}

int decodeInt8Head(const YOLOv8Seg& model, const SegHead& head, const SegGrid& grid, float threshold,
                   const SegCandidateLists& lists) {
    return decodeHead(Int8Head(head, threshold), model, grid, lists);
}

void appendFloatCoefficients(const AIBuff& maskCoef, std::size_t cells, std::size_t cell, std::size_t count,
                             std::vector<float>& coefficients) {
    const FloatView values(maskCoef);
    for (std::size_t k = 0; k < count; ++k) {
        coefficients.push_back(values[k * cells + cell]);
    }
}

void appendInt8Coefficients(const AIBuff& maskCoef, std::size_t cells, std::size_t cell, std::size_t count,
                            std::vector<float>& coefficients) {
    const ByteView values(maskCoef);
    for (std::size_t k = 0; k < count; ++k) {
        // Eight bits that wrap: networks are compiled with symmetric coefficients, whose zero point is 0.
        const auto difference =
            static_cast<unsigned>(values[k * cells + cell]) - static_cast<unsigned>(maskCoef.zp);
        coefficients.push_back(static_cast<float>(static_cast<std::int8_t>(difference)));
    }
}

namespace {

/// The published form of a head's decoding: the coefficients of all candidates come along.
template <typename Decode, typename Append>
int decodeWithCoefficients(Decode decode, Append append, const YOLOv8Seg& model, const SegHead& head,
                           const SegGrid& grid, float threshold, const SegCandidateLists& lists,
                           std::vector<float>& maskCoefs) {
    const int appended = decode(model, head, grid, threshold, lists);
    for (const std::size_t cell : lists.cells) {
        append(head.maskCoef, grid.cells(), cell, static_cast<std::size_t>(model.maskCoefCount), maskCoefs);
    }
    return appended;
}

}  // namespace

int YOLOv8Seg::decodeBoxes_fp32(AIBuff& box, AIBuff& score, AIBuff& maskCoef, int gridH, int gridW, int, int,
                                int stride, int dflLen, std::vector<cv::Rect_<int>>& boxes,
                                std::vector<float>& maskCoefs, std::vector<float>& scores,
                                std::vector<int>& classIds, float threshold) {
    std::vector<std::size_t> cells;
    return decodeWithCoefficients(decodeFloatHead, appendFloatCoefficients, *this, {box, score, maskCoef},
                                  {gridH, gridW, stride, dflLen}, threshold, {boxes, scores, classIds, cells},
                                  maskCoefs);
}

int YOLOv8Seg::decodeBoxes_i8(AIBuff& box, AIBuff& score, AIBuff& maskCoef, int gridH, int gridW, int, int,
                              int stride, int dflLen, std::vector<cv::Rect_<int>>& boxes,
                              std::vector<float>& maskCoefs, std::vector<float>& scores,
                              std::vector<int>& classIds, float threshold) {
    std::vector<std::size_t> cells;
    return decodeWithCoefficients(decodeInt8Head, appendInt8Coefficients, *this, {box, score, maskCoef},
                                  {gridH, gridW, stride, dflLen}, threshold, {boxes, scores, classIds, cells},
                                  maskCoefs);
}

}  // namespace ai_orvo::model
