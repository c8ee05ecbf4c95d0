#include "yolov5/decode.h"

#include "common/numeric.h"
#include "common/tensors.h"
#include "yolov5/tensor_tables.h"

#include <algorithm>
#include <cstddef>

namespace ai_orvo::model {
namespace {

struct BestClass {
    int label = -1;
    float score = 0.0F;
};

BestClass bestClassOf(const FloatView& values, std::size_t row, int classNum) {
    BestClass best;
    for (int label = 0; label < classNum; ++label) {
        const float score = values[row + kFusedFirstClass + static_cast<std::size_t>(label)];
        if (score > best.score) {
            best = {label, score};
        }
    }
    return best;
}

/// The candidate's box in source pixels. Size and centre are clamped before the corner is formed, so the
/// corner may lie outside the image.
cv::Rect_<float> sourceBox(const FloatView& values, std::size_t row, const LetterboxInfo& info) {
    const float centreX = clampToBound((values[row] - info.dw) * info.ratio, info.src_width);
    const float centreY = clampToBound((values[row + 1] - info.dh) * info.ratio, info.src_height);
    const float width = clampToBound(values[row + 2] * info.ratio, info.src_width);
    const float height = clampToBound(values[row + 3] * info.ratio, info.src_height);
    return {wholePixels(centreX - 0.5F * width), wholePixels(centreY - 0.5F * height), wholePixels(width),
            wholePixels(height)};
}

}  // namespace

void decodeFusedOutput(const AIBuff& output, const FusedDecoding& settings, std::vector<Object>& objects) {
    if (settings.classNum < 0 || settings.candidates < 0) {
        return;
    }
    const FloatView values(output);
    const std::size_t rowLength = kFusedFirstClass + static_cast<std::size_t>(settings.classNum);
    const std::size_t rows =
        std::min(static_cast<std::size_t>(settings.candidates), values.size() / rowLength);
    for (std::size_t index = 0; index < rows; ++index) {
        const std::size_t row = index * rowLength;
        const float objectness = values[row + kFusedObjectness];
        if (!(objectness > settings.confThres)) {
            continue;
        }
        const BestClass best = bestClassOf(values, row, settings.classNum);
        if (!(best.score > settings.confThres)) {
            continue;
        }
        objects.push_back(
            {sourceBox(values, row, settings.letterbox), best.label, objectness * best.score, cv::Mat()});
    }
}

}  // namespace ai_orvo::model
