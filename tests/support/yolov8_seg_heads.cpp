#include "support/yolov8_seg_heads.h"

#include "reference/seg_prototypes.h"
#include "support/comparison.h"

#include <algorithm>

namespace brellix::testing {

using ai_orvo::model::AIBuff;
using ai_orvo::model::YOLOv8Seg;
using reference::SegCandidates;
using reference::SegSettings;
using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

int decodeSegHead(YOLOv8Seg& model, const SegSettings& settings, SegHeadCase& head, SegCandidates& found) {
    const auto decode = settings.isQuantized ? &YOLOv8Seg::decodeBoxes_i8 : &YOLOv8Seg::decodeBoxes_fp32;
    return (model.*decode)(head.box, head.score, head.maskCoef, head.gridH, head.gridW,
                           settings.inputSize.height, settings.inputSize.width, head.stride, head.dflLen,
                           found.boxes, found.maskCoefs, found.scores, found.classIds,
                           settings.confThreshold);
}

int decodeSegHeadPlainly(const SegSettings& settings, const SegHeadCase& head, SegCandidates& found) {
    const reference::SegHead view{head.box,    head.score,        head.maskCoef,
                                  head.gridH,  head.gridW,        head.stride,
                                  head.dflLen, settings.classNum, std::max(settings.maskCoefCount, 0)};
    const auto decode = settings.isQuantized ? reference::decodeSegHeadInt8 : reference::decodeSegHeadFloat;
    return decode(view, settings.letterbox, settings.confThreshold, found);
}

AssertionResult sameCandidates(const SegCandidates& actual, const SegCandidates& expected) {
    if (actual.boxes != expected.boxes) {
        return AssertionFailure() << "other boxes";
    }
    if (actual.classIds != expected.classIds) {
        return AssertionFailure() << "other classes";
    }
    if (!sameFloats(actual.scores, expected.scores)) {
        return AssertionFailure() << "other scores";
    }
    if (!sameFloats(actual.maskCoefs, expected.maskCoefs)) {
        return AssertionFailure() << "other coefficients";
    }
    return AssertionSuccess();
}

cv::Mat prototypesOf(YOLOv8Seg& model, const SegSettings& settings, AIBuff& proto) {
    const auto decode = settings.isQuantized ? &YOLOv8Seg::decodeMask_i8 : &YOLOv8Seg::decodeMask_fp32;
    cv::Mat prototypes;
    (model.*decode)(proto, prototypes);
    return prototypes;
}

cv::Mat prototypesPlainly(const SegSettings& settings, const AIBuff& proto) {
    const auto decode = settings.isQuantized ? reference::prototypesFromInt8 : reference::prototypesFromFloat;
    return decode(proto, std::max(settings.maskCoefCount, 0), settings.protoHeight, settings.protoWidth);
}

}  // namespace brellix::testing
