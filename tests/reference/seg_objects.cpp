#include "reference/seg_objects.h"

#include "reference/index_nms.h"
#include "reference/quantization.h"
#include "reference/rounding.h"
#include "reference/seg_prototypes.h"

#include <opencv2/imgproc.hpp>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <set>
#include <string>

namespace brellix::reference {

using ai_orvo::model::AIBuff;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;

namespace {

std::string outputName(std::size_t number) {
    return "output" + std::to_string(number);
}

/// The order of the candidates by falling score, -1 in place of the suppressed ones; sorts the scores too.
std::vector<int> survivingOrder(const SegSettings& settings, SegCandidates& candidates) {
    const auto count = static_cast<int>(candidates.boxes.size());
    std::vector<int> order(candidates.boxes.size());
    std::iota(order.begin(), order.end(), 0);
    sortDescending(candidates.scores, 0, count - 1, order);
    const std::set<int> classes(candidates.classIds.begin(), candidates.classIds.end());
    for (const int classId : classes) {
        suppressByIndex(count, candidates.boxes, candidates.classIds, order, classId, settings.nmsThreshold);
    }
    return order;
}

/// Appends the best survivors to `objects` and returns their mask coefficients, one object a row.
cv::Mat appendSurvivors(const SegSettings& settings, SegCandidates& candidates,
                        std::vector<Object>& objects) {
    const std::vector<int> order = survivingOrder(settings, candidates);
    cv::Mat coefficients(0, settings.maskCoefCount, CV_32F);
    for (std::size_t p = 0; p < order.size() && coefficients.rows < settings.maxDetections; ++p) {
        if (order[p] == -1) {
            continue;
        }
        const auto n = static_cast<std::size_t>(order[p]);
        Object object;
        object.rect = cv::Rect_<float>(candidates.boxes[n]);
        object.label = candidates.classIds[n];
        object.prob = candidates.scores[p];
        objects.push_back(object);
        cv::Mat row(1, settings.maskCoefCount, CV_32F);
        for (int k = 0; k < settings.maskCoefCount; ++k) {
            const std::size_t first = n * static_cast<std::size_t>(settings.maskCoefCount);
            row.at<float>(0, k) = candidates.maskCoefs[first + static_cast<std::size_t>(k)];
        }
        coefficients.push_back(row);
    }
    return coefficients;
}

/// One plane of mask logits an object, of prototype size.
std::vector<cv::Mat> maskPlanes(const SegSettings& settings, const cv::Mat& coefficients,
                                const cv::Mat& prototypes) {
    const cv::Mat product = (coefficients * prototypes).t();
    // The width stands as the number of rows. With a square input it is the height as well.
    const cv::Mat interleaved =
        product.reshape(coefficients.rows, {settings.protoWidth, settings.protoHeight});
    std::vector<cv::Mat> planes;
    cv::split(interleaved, planes);
    return planes;
}

/// The part of a plane that shows the image, without the letterbox's border.
cv::Rect imagePart(const SegSettings& settings) {
    const auto border = [](float padding, int inputLength, int protoLength) {
        return truncateTowardZero(padding / static_cast<float>(inputLength) *
                                  static_cast<float>(protoLength));
    };
    const int x = border(settings.letterbox.dw, settings.inputSize.width, settings.protoWidth);
    const int y = border(settings.letterbox.dh, settings.inputSize.height, settings.protoHeight);
    // A record may hold anything: what is left has to be formed where it cannot overflow.
    CV_Assert(x >= 0 && 2 * std::int64_t{x} < settings.protoWidth);
    CV_Assert(y >= 0 && 2 * std::int64_t{y} < settings.protoHeight);
    return {x, y, settings.protoWidth - 2 * x, settings.protoHeight - 2 * y};
}

cv::Mat objectMask(const cv::Mat& plane, const cv::Rect& part, const cv::Size& imageSize,
                   const cv::Rect& box) {
    cv::Mat logits;
    cv::resize(plane(part), logits, imageSize, 0.0, 0.0, cv::INTER_LINEAR);
    cv::Mat mask = cv::Mat::zeros(imageSize, CV_8U);
    if (box.width == 0 || box.height == 0) {
        return mask;
    }
    const cv::Mat inside = logits(box) > static_cast<double>(unsigmoid(0.5F));
    inside.copyTo(mask(box));
    return mask;
}

}  // namespace

SegCandidates decodeSegHeads(const SegSettings& settings, TensorMap& outputs) {
    SegCandidates candidates;
    const auto decode = settings.isQuantized ? decodeSegHeadInt8 : decodeSegHeadFloat;
    for (std::size_t h = 0; h < 3; ++h) {
        const SegHead head{outputs[outputName(3 * h)],
                           outputs[outputName(3 * h + 1)],
                           outputs[outputName(3 * h + 2)],
                           settings.grids[h].height,
                           settings.grids[h].width,
                           settings.strides[h],
                           settings.dflLen,
                           settings.classNum,
                           settings.maskCoefCount};
        decode(head, settings.letterbox, settings.confThreshold, candidates);
    }
    return candidates;
}

void detectSeg(const SegSettings& settings, TensorMap& outputs, std::vector<Object>& objects) {
    SegCandidates candidates = decodeSegHeads(settings, outputs);
    const AIBuff& proto = outputs["proto"];
    if (candidates.boxes.empty()) {
        return;
    }
    const cv::Mat coefficients = appendSurvivors(settings, candidates, objects);
    if (coefficients.empty()) {
        return;
    }
    const auto prototypesOf = settings.isQuantized ? prototypesFromInt8 : prototypesFromFloat;
    const cv::Mat prototypes =
        prototypesOf(proto, settings.maskCoefCount, settings.protoHeight, settings.protoWidth);
    const std::vector<cv::Mat> planes = maskPlanes(settings, coefficients, prototypes);
    const cv::Size imageSize(truncateTowardZero(settings.letterbox.src_width),
                             truncateTowardZero(settings.letterbox.src_height));
    for (std::size_t k = 0; k < planes.size(); ++k) {
        objects[k].mask =
            objectMask(planes[k], imagePart(settings), imageSize, wholePixelBox(objects[k].rect));
    }
}

}  // namespace brellix::reference
