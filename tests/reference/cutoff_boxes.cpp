#include "reference/cutoff_boxes.h"

#include "reference/object_nms.h"
#include "reference/quantization.h"
#include "reference/rounding.h"
#include "reference/tensor_reading.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace brellix::reference {

using ai_orvo::model::AIBuff;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;

const int kCutoffAnchors[3][3][2] = {
    {{10, 13}, {16, 30}, {33, 23}}, {{30, 61}, {62, 45}, {59, 119}}, {{116, 90}, {156, 198}, {373, 326}}};
const int kCutoffStrides[3] = {8, 16, 32};
const std::array<const char*, 3> kCutoffHeadNames = {
    "/model.24/m.0/Conv_output_0", "/model.24/m.1/Conv_output_0", "/model.24/m.2/Conv_output_0"};

namespace {

/// One head: where its elements lie and how they are quantised.
struct Head {
    const CutoffSettings& settings;
    const AIBuff& output;
    int index;
    int gridW;
    int gridH;

    std::int8_t byte(int anchor, int channel, int row, int column) const {
        const std::int64_t area = static_cast<std::int64_t>(gridW) * gridH;
        const std::int64_t plane = static_cast<std::int64_t>(anchor) * settings.channelsPerAnchor + channel;
        return byteElement(output, static_cast<std::size_t>(plane * area + row * gridW + column));
    }

    float probability(std::int8_t byte) const { return sigmoid(dequantize(byte, output.zp, output.scale)); }
};

cv::Rect_<float> sourceBox(const Head& head, int anchor, int row, int column) {
    const auto offset = [&](int channel) {
        return head.probability(head.byte(anchor, channel, row, column));
    };
    const float px = offset(0);
    const float py = offset(1);
    const float pw = offset(2);
    const float ph = offset(3);
    const auto bx = static_cast<float>(2.0 * static_cast<double>(px) - 0.5);
    const auto by = static_cast<float>(2.0 * static_cast<double>(py) - 0.5);
    const float bw = (2.0F * pw) * (2.0F * pw);
    const float bh = (2.0F * ph) * (2.0F * ph);

    const auto& info = head.settings.letterbox;
    const auto stride = static_cast<float>(kCutoffStrides[head.index]);
    const auto anchorWidth = static_cast<float>(kCutoffAnchors[head.index][anchor][0]);
    const auto anchorHeight = static_cast<float>(kCutoffAnchors[head.index][anchor][1]);
    // Product and padding are rounded once, together.
    const float netX = std::fma(static_cast<float>(column) + bx, stride, -info.dw);
    const float netY = std::fma(stride, static_cast<float>(row) + by, -info.dh);
    const float centreX = limitToRange(info.ratio * netX, info.src_width);
    const float centreY = limitToRange(info.ratio * netY, info.src_height);
    const float width = limitToRange(info.ratio * (anchorWidth * bw), info.src_width);
    const float height = limitToRange(info.ratio * (anchorHeight * bh), info.src_height);

    const auto whole = [](float value) { return static_cast<float>(truncateTowardZero(value)); };
    return {whole(std::fma(-width, 0.5F, centreX)), whole(std::fma(-height, 0.5F, centreY)), whole(width),
            whole(height)};
}

/// Appends the position's object where the probability of its best class passes the threshold.
void decodePosition(const Head& head, int anchor, int row, int column, std::vector<Object>& objects) {
    int bestClass = 0;
    std::int8_t best = head.byte(anchor, 5, row, column);
    for (int c = 1; c < head.settings.classNum; ++c) {
        const std::int8_t score = head.byte(anchor, 5 + c, row, column);
        if (score > best) {
            best = score;
            bestClass = c;
        }
    }
    const float objectProbability = head.probability(head.byte(anchor, 4, row, column));
    const float classProbability = head.probability(best);
    if (!(classProbability > head.settings.confThreshold)) {
        return;
    }
    Object object;
    object.rect = sourceBox(head, anchor, row, column);
    object.label = bestClass;
    object.prob = objectProbability * classProbability;
    objects.push_back(object);
}

/// A position whose class bytes reach past the end of the buffer has no class and so no object.
void decodePositionInside(const Head& head, int anchor, int row, int column, std::vector<Object>& objects) {
    try {
        decodePosition(head, anchor, row, column, objects);
    } catch (const std::out_of_range&) {
        return;
    }
}

int decodePositions(const Head& head, std::int8_t threshold, std::vector<Object>& objects) {
    int passed = 0;
    for (int anchor = 0; anchor < 3; ++anchor) {
        for (int row = 0; row < head.gridH; ++row) {
            for (int column = 0; column < head.gridW; ++column) {
                if (threshold > head.byte(anchor, 4, row, column)) {
                    continue;
                }
                ++passed;
                decodePositionInside(head, anchor, row, column, objects);
            }
        }
    }
    return passed;
}

}  // namespace

int decodeCutoffHead(const CutoffSettings& settings, const AIBuff& output, int head,
                     std::vector<Object>& objects) {
    if (head < 0 || head > 2 || settings.channelsPerAnchor < 5 ||
        settings.classNum > settings.channelsPerAnchor - 5) {
        return 0;
    }
    const int stride = kCutoffStrides[head];
    const Head view{settings, output, head, settings.inputSize.width / stride,
                    settings.inputSize.height / stride};
    if (view.gridW < 1 || view.gridH < 1 ||
        !holdsElements(output, 1, {3, settings.channelsPerAnchor, view.gridW, view.gridH})) {
        return 0;
    }
    const int threshold = quantize(unsigmoid(settings.confThreshold), output.zp, output.scale);
    return decodePositions(view, static_cast<std::int8_t>(threshold), objects);
}

std::vector<Object> decodeCutoffHeads(const CutoffSettings& settings, const TensorMap& outputs) {
    std::vector<Object> objects;
    for (int head = 0; head < 3; ++head) {
        const auto found = outputs.find(kCutoffHeadNames[static_cast<std::size_t>(head)]);
        if (found != outputs.end()) {
            decodeCutoffHead(settings, found->second, head, objects);
        }
    }
    return objects;
}

std::vector<Object> detectCutoff(const CutoffSettings& settings, const TensorMap& outputs) {
    return keepGreedily(decodeCutoffHeads(settings, outputs), settings.nmsThreshold);
}

}  // namespace brellix::reference
