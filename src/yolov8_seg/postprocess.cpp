#include "brellix/nms.h"
#include "brellix/yolov8_seg.h"
#include "common/index_nms.h"
#include "yolov8_seg/decode_boxes.h"
#include "yolov8_seg/masks.h"
#include "yolov8_seg/prototypes.h"
#include "yolov8_seg/tensor_tables.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>
#include <vector>

namespace ai_orvo::model {
namespace {

/// The candidates of all heads, one entry each in every list.
struct Candidates {
    std::vector<cv::Rect_<int>> boxes;
    std::vector<float> scores;
    std::vector<int> classIds;
    std::vector<std::size_t> cells;
    std::array<std::size_t, kSegHeads> headEnds{};  ///< candidates up to and with each head

    /// The head that found a candidate.
    std::size_t headOf(std::size_t candidate) const {
        std::size_t head = 0;
        while (candidate >= headEnds[head]) {
            ++head;
        }
        return head;
    }
};

/// The output whose registered shape gives a head's grid. All three of a head have the same one; which is
/// asked shows only where an application changes `config.output_shapes`.
constexpr std::array<const char*, kSegHeads> kGridNames = {"output0", "output4", "output8"};

/// A dimension of a registered output shape, 0 where there is no such.
int dimensionOf(const AIEngineConfig& config, const char* name, std::size_t dimension) {
    const auto shape = config.output_shapes.find(name);
    if (shape == config.output_shapes.end() || dimension >= shape->second.size()) {
        return 0;
    }
    const std::int64_t length = shape->second[dimension];
    return length < 0 || length > std::numeric_limits<int>::max() ? 0 : static_cast<int>(length);
}

SegHead headTensors(TensorMap& outputs, std::size_t head) {
    const SegHeadNames& names = kSegHeadNames[head];
    return {outputs[names.box], outputs[names.score], outputs[names.maskCoef]};
}

SegGrid gridOf(const YOLOv8Seg& model, std::size_t head) {
    const char* const name = kGridNames[head];
    return {dimensionOf(model.config, name, 2), dimensionOf(model.config, name, 3), model.strides[head],
            dimensionOf(model.config, kSegHeadNames[0].box, 1) / 4};
}

Candidates decodeHeads(const YOLOv8Seg& model, TensorMap& outputs) {
    const auto decode = model.isQuantized ? decodeInt8Head : decodeFloatHead;
    Candidates found;
    for (std::size_t head = 0; head < kSegHeads; ++head) {
        decode(model, headTensors(outputs, head), gridOf(model, head), model.confThreshold,
               {found.boxes, found.scores, found.classIds, found.cells});
        found.headEnds[head] = found.boxes.size();
    }
    return found;
}

/// Sorts the scores and suppresses class by class. \return candidates by falling score, -1 for suppressed
/// ones.
std::vector<int> survivors(Candidates& candidates, float threshold) {
    const auto count = static_cast<int>(candidates.scores.size());
    std::vector<int> order(candidates.scores.size());
    std::iota(order.begin(), order.end(), 0);
    quickSortIndiceInverse(candidates.scores, 0, count - 1, order);
    suppressInEachClass(candidates.boxes, candidates.classIds, threshold, order);
    return order;
}

/// Appends at most `maxDetections` objects, without masks. \return their candidates.
std::vector<std::size_t> appendObjects(const Candidates& candidates, const std::vector<int>& order,
                                       int maxDetections, std::vector<Object>& objects) {
    std::vector<std::size_t> kept;
    for (std::size_t position = 0; position < order.size() && static_cast<int>(kept.size()) < maxDetections;
         ++position) {
        if (order[position] == -1) {
            continue;
        }
        const auto candidate = static_cast<std::size_t>(order[position]);
        // After the sort scores stand by position, everything else still by candidate.
        objects.push_back({cv::Rect_<float>(candidates.boxes[candidate]), candidates.classIds[candidate],
                           candidates.scores[position], cv::Mat()});
        kept.push_back(candidate);
    }
    return kept;
}

/// \return the mask coefficients of the kept candidates, one after another.
std::vector<float> coefficientsOf(const YOLOv8Seg& model, const Candidates& candidates,
                                  const std::vector<std::size_t>& kept, TensorMap& outputs) {
    const auto append = model.isQuantized ? appendInt8Coefficients : appendFloatCoefficients;
    const auto count = static_cast<std::size_t>(std::max(model.maskCoefCount, 0));
    std::vector<float> coefficients;
    coefficients.reserve(kept.size() * count);
    for (const std::size_t candidate : kept) {
        const std::size_t head = candidates.headOf(candidate);
        append(headTensors(outputs, head).maskCoef, gridOf(model, head).cells(), candidates.cells[candidate],
               count, coefficients);
    }
    return coefficients;
}

}  // namespace

void YOLOv8Seg::postprocess(TensorMap& outputs, std::vector<Object>& objects) {
    Candidates candidates = decodeHeads(*this, outputs);
    AIBuff& proto = outputs[kSegProto];
    if (candidates.scores.empty()) {
        return;
    }
    const std::vector<int> order = survivors(candidates, nmsThreshold);
    const std::vector<std::size_t> kept = appendObjects(candidates, order, maxDetections, objects);
    std::vector<float> coefficients = coefficientsOf(*this, candidates, kept, outputs);
    if (coefficients.empty()) {
        return;
    }
    AIBuff memory;
    const cv::Mat prototypes = prototypesOf(*this, proto, memory);
    const auto count = static_cast<int>(kept.size());
    assembleMasks(*this, cv::Mat(count, maskCoefCount, CV_32F, coefficients.data()), prototypes, objects);
}

}  // namespace ai_orvo::model
