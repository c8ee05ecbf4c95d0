#include "yolov5_cutoff/decode.h"

#include "brellix/quantization.h"
#include "common/best_scores.h"
#include "common/byte_table.h"
#include "common/numeric.h"
#include "common/tensors.h"

#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace ai_orvo::model {
namespace {

/// One anchor's planes of a head: channel k of a cell stands at k * area + cell.
struct AnchorPlanes {
    ByteView bytes;    ///< from the anchor's first channel to the end of the tensor
    std::size_t area;  ///< cells of a plane

    std::int8_t raw(std::size_t channel, std::size_t cell) const { return bytes[channel * area + cell]; }

    const std::int8_t* objectness() const { return bytes.data() + kCutObjectness * area; }
};

/// The cells that are looked at together, and which of them pass: a bit each, the first cell's the lowest.
constexpr std::size_t kBlock = kIndexedCells;
using PassingCells = std::uint32_t;

PassingCells passingCells(const std::int8_t* objectness, std::size_t count, std::int8_t threshold) {
    PassingCells passing = 0;
#if CV_SIMD128
    if (count == kBlock) {
        const cv::v_int8x16 isBelow = cv::v_setall_s8(threshold) > cv::v_load(objectness);
        return ~static_cast<PassingCells>(cv::v_signmask(isBelow)) & 0xFFFFU;
    }
#endif
    for (std::size_t i = 0; i < count; ++i) {
        passing |= static_cast<PassingCells>(objectness[i] >= threshold) << i;
    }
    return passing;
}

/// The first block from `cell` on that may hold a passing cell, or `count`. Most cells of an image show
/// nothing, so that four blocks are dismissed at once.
std::size_t skipEmptyBlocks(const std::int8_t* objectness, std::size_t cell, std::size_t count,
                            std::int8_t threshold) {
#if CV_SIMD128
    const cv::v_int8x16 limit = cv::v_setall_s8(threshold);
    for (; cell + 4 * kBlock <= count; cell += 4 * kBlock) {
        const std::int8_t* const first = objectness + cell;
        const cv::v_int8x16 low = (limit > cv::v_load(first)) & (limit > cv::v_load(first + kBlock));
        const cv::v_int8x16 high =
            (limit > cv::v_load(first + 2 * kBlock)) & (limit > cv::v_load(first + 3 * kBlock));
        if (!cv::v_check_all(low & high)) {
            break;
        }
    }
#endif
    return cell;
}

/// Twice the probability minus a half: where in and around its cell the centre lies.
float centreOffset(float probability) {
    return static_cast<float>(2.0 * static_cast<double>(probability) - 0.5);
}

float sizeFactor(float probability) {
    return (2.0F * probability) * (2.0F * probability);
}

cv::Rect_<float> sourceBox(const AnchorPlanes& planes, const ByteTable& probabilities, std::size_t cell,
                           const HeadLayout& layout, int anchor, const LetterboxInfo& info) {
    const auto stride = static_cast<float>(layout.stride);
    const auto gridW = static_cast<std::size_t>(layout.gridW);
    const std::size_t cellRow = cell / gridW;
    const auto column = static_cast<float>(cell % gridW);
    const auto row = static_cast<float>(cellRow);
    const float offsetX = centreOffset(probabilities[planes.raw(0, cell)]);
    const float offsetY = centreOffset(probabilities[planes.raw(1, cell)]);
    const float factorW = sizeFactor(probabilities[planes.raw(2, cell)]);
    const float factorH = sizeFactor(probabilities[planes.raw(3, cell)]);

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
    if (layout.gridW < 1 || layout.gridH < 1 || layout.channelsPerAnchor < static_cast<int>(kCutFirstClass) ||
        layout.classNum > layout.channelsPerAnchor - static_cast<int>(kCutFirstClass)) {
        return false;
    }
    const std::size_t channels = kCutAnchorsPerHead * static_cast<std::size_t>(layout.channelsPerAnchor);
    return bytes.size() / channels >= layout.cells();
}

/// Decodes one anchor of a head into `objects`.
class AnchorDecoder {
  public:
    AnchorDecoder(const AnchorPlanes& planes, const ByteTable& probabilities, const HeadLayout& layout,
                  int anchor, const HeadDecoding& settings, std::vector<std::int8_t>& scores)
        : planes_(planes),
          probabilities_(probabilities),
          layout_(layout),
          anchor_(anchor),
          settings_(settings),
          scores_(scores) {}

    /// \param threshold what an objectness has to reach as a byte. \return how many cells did.
    int decode(std::int8_t threshold, std::vector<Object>& objects) const {
        const std::int8_t* const objectness = planes_.objectness();
        int passed = 0;
        for (std::size_t first = skipEmptyBlocks(objectness, 0, planes_.area, threshold);
             first < planes_.area;
             first = skipEmptyBlocks(objectness, first + kBlock, planes_.area, threshold)) {
            const std::size_t count = std::min(kBlock, planes_.area - first);
            const PassingCells passing = passingCells(objectness + first, count, threshold);
            if (count == kBlock && paysTogether(passing)) {
                passed += addObjectsTogether(first, passing, objects);
            } else {
                passed += addObjects(first, passing, objects);
            }
        }
        return passed;
    }

  private:
    /// An object makes several cells side by side pass, whose scores lie side by side, too.
    bool paysTogether(PassingCells passing) const {
        const bool areSeveral = (passing & (passing - 1)) != 0;
        return areSeveral && layout_.classNum >= 1 && layout_.classNum <= kMostIndexedPlanes;
    }

    int addObjectsTogether(std::size_t first, PassingCells passing, std::vector<Object>& objects) const {
        const CellIndices labels = indicesOfHighest(
            planes_.bytes.data() + kCutFirstClass * planes_.area + first, planes_.area, layout_.classNum);
        return forEachCell(passing, [&](std::size_t i) { addObject(first + i, labels[i], objects); });
    }

    int addObjects(std::size_t first, PassingCells passing, std::vector<Object>& objects) const {
        return forEachCell(passing, [&](std::size_t i) {
            const std::size_t cell = first + i;
            // Without classes the last anchor has no channel where the first class would stand.
            if (kCutFirstClass * planes_.area + cell < planes_.bytes.size()) {
                gatherScores(cell);
                addObject(cell, indexOfHighest(scores_.data(), scores_.size()), objects);
            }
        });
    }

    template <typename Action>
    static int forEachCell(PassingCells passing, Action action) {
        int cells = 0;
        for (std::size_t i = 0; passing >> i != 0; ++i) {
            if ((passing >> i & 1U) != 0) {
                ++cells;
                action(i);
            }
        }
        return cells;
    }

    void addObject(std::size_t cell, std::size_t label, std::vector<Object>& objects) const {
        const float classProbability = probabilities_[planes_.raw(kCutFirstClass + label, cell)];
        if (classProbability > settings_.confThres) {
            const float objectness = probabilities_[planes_.raw(kCutObjectness, cell)];
            objects.push_back(
                {sourceBox(planes_, probabilities_, cell, layout_, anchor_, settings_.letterbox),
                 static_cast<int>(label), objectness * classProbability, cv::Mat()});
        }
    }

    /// The cell's scores side by side: in the tensor each lies in a plane of its own, far from the next.
    void gatherScores(std::size_t cell) const {
        const std::int8_t* score = planes_.bytes.data() + kCutFirstClass * planes_.area + cell;
        for (std::int8_t& gathered : scores_) {
            gathered = *score;
            score += planes_.area;
        }
    }

    const AnchorPlanes& planes_;
    const ByteTable& probabilities_;
    const HeadLayout& layout_;
    int anchor_;
    const HeadDecoding& settings_;
    std::vector<std::int8_t>& scores_;  ///< room for the scores of a cell
};

}  // namespace

int decodeHead(const AIBuff& output, const HeadLayout& layout, const HeadDecoding& settings,
               std::vector<Object>& objects) {
    const ByteView bytes(output);
    if (!fits(bytes, layout)) {
        return 0;
    }
    const std::size_t area = layout.cells();
    const auto threshold =
        static_cast<std::int8_t>(qntF32ToAffine(unsigmoid(settings.confThres), output.zp, output.scale));
    const std::shared_ptr<const ByteTable> probabilities = byteTable(sigmoid, output.zp, output.scale);
    // A network without classes is read as if it had one.
    std::vector<std::int8_t> scores(static_cast<std::size_t>(std::max(layout.classNum, 1)));
    int passed = 0;
    for (int anchor = 0; anchor < kCutAnchorsPerHead; ++anchor) {
        const std::size_t firstChannel =
            static_cast<std::size_t>(anchor) * static_cast<std::size_t>(layout.channelsPerAnchor);
        const AnchorPlanes planes{bytes.from(firstChannel * area), area};
        passed += AnchorDecoder(planes, *probabilities, layout, anchor, settings, scores)
                      .decode(threshold, objects);
    }
    return passed;
}

}  // namespace ai_orvo::model
