#include "reference/fused_boxes.h"

#include "reference/object_nms.h"
#include "reference/rounding.h"
#include "reference/tensor_reading.h"

#include <cstddef>
#include <cstdint>
#include <sstream>

namespace brellix::reference {

using ai_orvo::model::AIBuff;
using ai_orvo::model::LetterboxInfo;
using ai_orvo::model::Object;

namespace {

cv::Rect_<float> sourceBox(const LetterboxInfo& letterbox, const std::vector<float>& row) {
    const float centreX = limitToRange((row[0] - letterbox.dw) * letterbox.ratio, letterbox.src_width);
    const float centreY = limitToRange((row[1] - letterbox.dh) * letterbox.ratio, letterbox.src_height);
    const float width = limitToRange(row[2] * letterbox.ratio, letterbox.src_width);
    const float height = limitToRange(row[3] * letterbox.ratio, letterbox.src_height);
    const auto whole = [](float value) { return static_cast<float>(truncateTowardZero(value)); };
    return {whole(centreX - 0.5F * width), whole(centreY - 0.5F * height), whole(width), whole(height)};
}

/// Appends the row's object where objectness and best class score each pass the threshold.
void decodeRow(const FusedSettings& settings, const std::vector<float>& row, std::vector<Object>& objects) {
    const float objectness = row[4];
    if (!(objectness > settings.confThreshold)) {
        return;
    }
    float bestScore = 0.0F;
    int bestLabel = -1;
    for (int label = 0; label < settings.classNum; ++label) {
        const float score = row[5 + static_cast<std::size_t>(label)];
        if (score > bestScore) {
            bestScore = score;
            bestLabel = label;
        }
    }
    if (!(bestScore > settings.confThreshold)) {
        return;
    }
    Object object;
    object.rect = sourceBox(settings.letterbox, row);
    object.label = bestLabel;
    object.prob = objectness * bestScore;
    objects.push_back(object);
}

}  // namespace

std::vector<Object> decodeFusedRows(const FusedSettings& settings, const AIBuff& output) {
    std::vector<Object> objects;
    const std::int64_t rowLength = static_cast<std::int64_t>(settings.classNum) + 5;
    if (rowLength < 5) {
        return objects;
    }
    std::vector<float> row;
    for (std::int64_t r = 0; r < settings.numCandidates; ++r) {
        if (!holdsElements(output, sizeof(float), {r + 1, rowLength})) {
            break;
        }
        row.clear();
        for (std::int64_t i = 0; i < rowLength; ++i) {
            row.push_back(floatElement(output, static_cast<std::size_t>(r * rowLength + i)));
        }
        decodeRow(settings, row, objects);
    }
    return objects;
}

std::vector<Object> detectFused(const FusedSettings& settings, const AIBuff& output) {
    return keepGreedily(decodeFusedRows(settings, output), settings.nmsThreshold);
}

std::string letterboxLine(const LetterboxInfo& letterbox) {
    std::ostringstream line;
    line << "dw: " << letterbox.dw << ", dh: " << letterbox.dh << ", ratio: " << letterbox.ratio << "\n";
    return line.str();
}

}  // namespace brellix::reference
