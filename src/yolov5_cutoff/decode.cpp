#include "yolov5_cutoff/decode.h"

#include "brellix/quantization.h"
#include "common/numeric.h"
#include "common/tensors.h"

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
    int zp;
    float scale;

    std::int8_t raw(std::size_t channel, std::size_t cell) const { return bytes[channel * area + cell]; }

    float probability(std::int8_t byte) const { return sigmoid(deqntAffineToF32(byte, zp, scale)); }

    float probability(std::size_t channel, std::size_t cell) const { return probability(raw(channel, cell)); }
};

struct BestClass {
    int label = 0;
    std::int8_t byte = 0;
};

/// The first class starts as the best, so that a network of fewer than two classes has label 0.
BestClass bestClassOf(const AnchorPlanes& planes, std::size_t cell, int classNum) {
    BestClass best{0, planes.raw(kFirstClass, cell)};
    for (int label = 1; label < classNum; ++label) {
        const std::int8_t byte = planes.raw(kFirstClass + static_cast<std::size_t>(label), cell);
        if (byte > best.byte) {
            best = {label, byte};
        }
    }
    return best;
}

/// Twice the probability minus a half: where in and around its cell the centre lies.
float centreOffset(float probability) {
    return static_cast<float>(2.0 * static_cast<double>(probability) - 0.5);
}

float sizeFactor(float probability) {
    return (2.0F * probability) * (2.0F * probability);
}

cv::Rect_<float> sourceBox(const AnchorPlanes& planes, std::size_t cell, const HeadLayout& layout, int anchor,
                           const LetterboxInfo& info) {
    const auto stride = static_cast<float>(layout.stride);
    const auto gridW = static_cast<std::size_t>(layout.gridW);
    const std::size_t cellRow = cell / gridW;
    const auto column = static_cast<float>(cell % gridW);
    const auto row = static_cast<float>(cellRow);
    const float offsetX = centreOffset(planes.probability(0, cell));
    const float offsetY = centreOffset(planes.probability(1, cell));
    const float factorW = sizeFactor(planes.probability(2, cell));
    const float factorH = sizeFactor(planes.probability(3, cell));

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

int decodeAnchor(const AnchorPlanes& planes, const HeadLayout& layout, int anchor,
                 const HeadDecoding& settings, std::vector<Object>& objects) {
    const auto threshold =
        static_cast<std::int8_t>(qntF32ToAffine(unsigmoid(settings.confThres), planes.zp, planes.scale));
    int passed = 0;
    for (std::size_t cell = 0; cell < planes.area; ++cell) {
        const std::int8_t objectness = planes.raw(kObjectness, cell);
        if (threshold > objectness) {
            continue;
        }
        ++passed;
        // Without classes the last anchor has no channel where the first class would stand.
        if (kFirstClass * planes.area + cell >= planes.bytes.size()) {
            continue;
        }
        const BestClass best = bestClassOf(planes, cell, layout.classNum);
        const float classProbability = planes.probability(best.byte);
        if (classProbability > settings.confThres) {
            objects.push_back({sourceBox(planes, cell, layout, anchor, settings.letterbox), best.label,
                               planes.probability(objectness) * classProbability, cv::Mat()});
        }
    }
    return passed;
}

}  // namespace

int decodeHead(const AIBuff& output, const HeadLayout& layout, const HeadDecoding& settings,
               std::vector<Object>& objects) {
    const ByteView bytes(output);
    if (!fits(bytes, layout)) {
        return 0;
    }
    const std::size_t area = static_cast<std::size_t>(layout.gridW) * static_cast<std::size_t>(layout.gridH);
    int passed = 0;
    for (int anchor = 0; anchor < kCutAnchorsPerHead; ++anchor) {
        const std::size_t firstChannel =
            static_cast<std::size_t>(anchor) * static_cast<std::size_t>(layout.channelsPerAnchor);
        const AnchorPlanes planes{bytes.from(firstChannel * area), area, output.zp, output.scale};
        passed += decodeAnchor(planes, layout, anchor, settings, objects);
    }
    return passed;
}

}  // namespace ai_orvo::model
