#include "brellix/nms.h"
#include "brellix/yolov8_seg.h"
#include "yolov8_seg/masks.h"
#include "yolov8_seg/tensor_tables.h"

#include <cstdint>
#include <limits>
#include <numeric>
#include <set>

namespace ai_orvo::model {
namespace {

/// The candidates of all heads, one entry each in every list (`maskCoefCount` in `maskCoefs`).
struct Candidates {
    std::vector<cv::Rect_<int>> boxes;
    std::vector<float> maskCoefs;
    std::vector<float> scores;
    std::vector<int> classIds;
};

/// The output whose registered shape gives a head's grid.
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

Candidates decodeHeads(YOLOv8Seg& model, TensorMap& outputs) {
    const auto decode = model.isQuantized ? &YOLOv8Seg::decodeBoxes_i8 : &YOLOv8Seg::decodeBoxes_fp32;
    const int dflLen = dimensionOf(model.config, "output0", 1) / 4;
    Candidates found;
    for (std::size_t head = 0; head < kSegHeads; ++head) {
        AIBuff& box = outputs[kSegHeadNames[head].box];
        AIBuff& score = outputs[kSegHeadNames[head].score];
        AIBuff& maskCoef = outputs[kSegHeadNames[head].maskCoef];
        const int gridH = dimensionOf(model.config, kGridNames[head], 2);
        const int gridW = dimensionOf(model.config, kGridNames[head], 3);
        (model.*decode)(box, score, maskCoef, gridH, gridW, model.inputSize.height, model.inputSize.width,
                        model.strides[head], dflLen, found.boxes, found.maskCoefs, found.scores,
                        found.classIds, model.confThreshold);
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
    const std::set<int> classes(candidates.classIds.begin(), candidates.classIds.end());
    for (const int classId : classes) {
        nms(count, candidates.boxes, candidates.classIds, order, classId, threshold);
    }
    return order;
}

/// Appends at most `maxDetections` objects, without masks. \return their mask coefficients, one after
/// another.
std::vector<float> appendObjects(const Candidates& candidates, const std::vector<int>& order,
                                 const YOLOv8Seg& model, std::vector<Object>& objects) {
    const auto coefCount = static_cast<std::size_t>(model.maskCoefCount);
    std::vector<float> coefficients;
    int kept = 0;
    for (std::size_t position = 0; position < order.size() && kept < model.maxDetections; ++position) {
        if (order[position] == -1) {
            continue;
        }
        const auto candidate = static_cast<std::size_t>(order[position]);
        // After the sort scores stand by position, everything else still by candidate.
        objects.push_back({cv::Rect_<float>(candidates.boxes[candidate]), candidates.classIds[candidate],
                           candidates.scores[position], cv::Mat()});
        for (std::size_t k = 0; k < coefCount; ++k) {
            coefficients.push_back(candidates.maskCoefs[candidate * coefCount + k]);
        }
        ++kept;
    }
    return coefficients;
}

/// One prototype a row. A float tensor that holds them all is used where it lies.
cv::Mat prototypesOf(YOLOv8Seg& model, AIBuff& proto) {
    const std::int64_t area = std::int64_t{model.protoHeight} * model.protoWidth;
    const bool isComplete = proto.data && area > 0 && area <= std::numeric_limits<int>::max() &&
                            proto.data->size() / sizeof(float) / static_cast<std::size_t>(area) >=
                                static_cast<std::size_t>(model.maskCoefCount);
    if (!model.isQuantized && isComplete) {
        return {model.maskCoefCount, static_cast<int>(area), CV_32F, proto.data->data()};
    }
    cv::Mat prototypes;
    model.isQuantized ? model.decodeMask_i8(proto, prototypes) : model.decodeMask_fp32(proto, prototypes);
    return prototypes;
}

}  // namespace

void YOLOv8Seg::postprocess(TensorMap& outputs, std::vector<Object>& objects) {
    Candidates candidates = decodeHeads(*this, outputs);
    AIBuff& proto = outputs[kSegProto];
    if (candidates.scores.empty()) {
        return;
    }
    const std::vector<int> order = survivors(candidates, nmsThreshold);
    std::vector<float> coefficients = appendObjects(candidates, order, *this, objects);
    if (coefficients.empty()) {
        return;
    }
    const cv::Mat prototypes = prototypesOf(*this, proto);
    const int kept = static_cast<int>(coefficients.size()) / maskCoefCount;
    assembleMasks(*this, cv::Mat(kept, maskCoefCount, CV_32F, coefficients.data()), prototypes, objects);
}

}  // namespace ai_orvo::model
