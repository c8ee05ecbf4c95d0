#include "yolov5_cutoff/decode.h"

#include "brellix/quantization.h"
#include "common/best_scores.h"
#include "common/byte_table.h"
#include "common/numeric.h"
#include "common/tensors.h"

#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace ai_orvo::model {
namespace {

constexpr std::size_t kObjectness = 4;
constexpr std::size_t kFirstClass = 5;

/// One anchor's planes of a head: channel k of a cell stands at k * area + cell.
struct AnchorPlanes {
    ByteView bytes;    ///< from the anchor's first channel to the end of the tensor
    std::size_t area;  ///< cells of a plane

    std::int8_t raw(std::size_t channel, std::size_t cell) const { return bytes[channel * area + cell]; }

    /// The class that a cell's score stands for: the lowest one that has it.
    int labelOf(std::int8_t score, std::size_t cell) const {
        std::size_t label = 0;
        while (raw(kFirstClass + label, cell) != score) {
            ++label;
        }
        return static_cast<int>(label);
    }
};

/// The probabilities that the bytes of one tensor stand for.
class Probabilities {
  public:
    explicit Probabilities(const AIBuff& tensor) : zp_(tensor.zp), scale_(tensor.scale) {}

    float of(std::int8_t byte) {
        return table_.get(
            byte, [this](std::int8_t value) { return sigmoid(deqntAffineToF32(value, zp_, scale_)); });
    }

    /// What an objectness has to reach as a byte.
    std::int8_t byteOf(float probability) const {
        return static_cast<std::int8_t>(qntF32ToAffine(unsigmoid(probability), zp_, scale_));
    }

  private:
    int zp_;
    float scale_;
    ByteTable table_;
};

/// Some cells side by side; their scores are looked at together, since they share cache lines.
struct CellBlock {
    std::size_t first;
    std::size_t count;
};

constexpr std::size_t kBlock = 16;

/// Whether a cell of the block reaches the threshold.
bool anyReaches(const AnchorPlanes& planes, const CellBlock& block, std::int8_t threshold) {
    const std::int8_t* const objectness = planes.bytes.data() + kObjectness * planes.area + block.first;
#if CV_SIMD128
    if (block.count == kBlock) {
        return cv::v_check_any(cv::v_load(objectness) >= cv::v_setall_s8(threshold));
    }
#endif
    return std::any_of(objectness, objectness + block.count,
                       [threshold](std::int8_t byte) { return byte >= threshold; });
}

/// The highest class score of each cell of the block. A network without classes is read as if it had one.
std::array<std::int8_t, kBlock> bestScores(const AnchorPlanes& planes, const CellBlock& block, int classNum) {
    const std::int8_t* const scores = planes.bytes.data() + kFirstClass * planes.area + block.first;
    std::array<std::int8_t, kBlock> best;
    std::copy_n(scores, block.count, best.begin());
    raiseToBestScores(scores, planes.area, classNum, block.count, best.data());
    return best;
}

/// Twice the probability minus a half: where in and around its cell the centre lies.
float centreOffset(float probability) {
    return static_cast<float>(2.0 * static_cast<double>(probability) - 0.5);
}

float sizeFactor(float probability) {
    return (2.0F * probability) * (2.0F * probability);
}

cv::Rect_<float> sourceBox(const AnchorPlanes& planes, Probabilities& probabilities, std::size_t cell,
                           const HeadLayout& layout, int anchor, const LetterboxInfo& info) {
    const auto stride = static_cast<float>(layout.stride);
    const auto gridW = static_cast<std::size_t>(layout.gridW);
    const std::size_t cellRow = cell / gridW;
    const auto column = static_cast<float>(cell % gridW);
    const auto row = static_cast<float>(cellRow);
    const float offsetX = centreOffset(probabilities.of(planes.raw(0, cell)));
    const float offsetY = centreOffset(probabilities.of(planes.raw(1, cell)));
    const float factorW = sizeFactor(probabilities.of(planes.raw(2, cell)));
    const float factorH = sizeFactor(probabilities.of(planes.raw(3, cell)));

    const float centreX =
        clampToBound(info.ratio * std::fma(column + offsetX, stride, -info.dw), info.src_width);
    const float centreY =
        clampToBound(info.ratio * std::fma(stride, row + offsetY, -info.dh), info.src_height);
    const float width =
        clampToBound(info.ratio * (static_cast<float>(layout.anchors[anchor][0]) * factorW), info.src_width);
    const float height =
        clampToBound(info.ratio * (static_cast<float>(layout.anchors[anchor][1]) * factorH), info.src_height);
    return {wholePixels(std::fma(-width, 0.5F, centreX)), wholePixels(std::fma(-height, 0.5F, centreY)),
            wholePixels(width), wholePixels(height)};
}

/// Whether every byte that the decoder may touch lies inside the tensor.
bool fits(const ByteView& bytes, const HeadLayout& layout) {
    if (layout.gridW < 1 || layout.gridH < 1 || layout.channelsPerAnchor < static_cast<int>(kFirstClass) ||
        layout.classNum > layout.channelsPerAnchor - static_cast<int>(kFirstClass)) {
        return false;
    }
    const std::size_t area = static_cast<std::size_t>(layout.gridW) * static_cast<std::size_t>(layout.gridH);
    const std::size_t channels = kCutAnchorsPerHead * static_cast<std::size_t>(layout.channelsPerAnchor);
    return bytes.size() / channels >= area;
}

/// Decodes one anchor of a head into `objects`.
class AnchorDecoder {
  public:
    AnchorDecoder(const AnchorPlanes& planes, Probabilities& probabilities, const HeadLayout& layout,
                  int anchor, const HeadDecoding& settings)
        : planes_(planes),
          probabilities_(probabilities),
          layout_(layout),
          anchor_(anchor),
          settings_(settings),
          threshold_(probabilities.byteOf(settings.confThres)) {}

    /// \return how many cells passed the objectness test.
    int decode(std::vector<Object>& objects) const {
        int passed = 0;
        for (std::size_t first = 0; first < planes_.area; first += kBlock) {
            const CellBlock block{first, std::min(kBlock, planes_.area - first)};
            if (anyReaches(planes_, block, threshold_)) {
                passed += decodeBlock(block, objects);
            }
        }
        return passed;
    }

  private:
    int decodeBlock(CellBlock block, std::vector<Object>& objects) const {
        const auto passed = static_cast<int>(countPassing(block));
        // Without classes the last anchor has no channel where the first class would stand.
        const std::size_t firstScore = kFirstClass * planes_.area + block.first;
        if (firstScore >= planes_.bytes.size()) {
            return passed;
        }
        block.count = std::min(block.count, planes_.bytes.size() - firstScore);
        const auto best = bestScores(planes_, block, layout_.classNum);
        for (std::size_t i = 0; i < block.count; ++i) {
            const std::size_t cell = block.first + i;
            if (planes_.raw(kObjectness, cell) >= threshold_) {
                addObject(cell, best[i], objects);
            }
        }
        return passed;
    }

    std::ptrdiff_t countPassing(const CellBlock& block) const {
        const std::int8_t* const objectness = planes_.bytes.data() + kObjectness * planes_.area + block.first;
        return std::count_if(objectness, objectness + block.count,
                             [this](std::int8_t byte) { return byte >= threshold_; });
    }

    void addObject(std::size_t cell, std::int8_t bestScore, std::vector<Object>& objects) const {
        const float classProbability = probabilities_.of(bestScore);
        if (classProbability > settings_.confThres) {
            const float objectness = probabilities_.of(planes_.raw(kObjectness, cell));
            objects.push_back(
                {sourceBox(planes_, probabilities_, cell, layout_, anchor_, settings_.letterbox),
                 planes_.labelOf(bestScore, cell), objectness * classProbability, cv::Mat()});
        }
    }

    const AnchorPlanes& planes_;
    Probabilities& probabilities_;
    const HeadLayout& layout_;
    int anchor_;
    const HeadDecoding& settings_;
    std::int8_t threshold_;
};

}  // namespace

int decodeHead(const AIBuff& output, const HeadLayout& layout, const HeadDecoding& settings,
               std::vector<Object>& objects) {
    const ByteView bytes(output);
    if (!fits(bytes, layout)) {
        return 0;
    }
    const std::size_t area = static_cast<std::size_t>(layout.gridW) * static_cast<std::size_t>(layout.gridH);
    Probabilities probabilities(output);
    int passed = 0;
    for (int anchor = 0; anchor < kCutAnchorsPerHead; ++anchor) {
        const std::size_t firstChannel =
            static_cast<std::size_t>(anchor) * static_cast<std::size_t>(layout.channelsPerAnchor);
        const AnchorPlanes planes{bytes.from(firstChannel * area), area};
        passed += AnchorDecoder(planes, probabilities, layout, anchor, settings).decode(objects);
    }
    return passed;
}

}  // namespace ai_orvo::model
