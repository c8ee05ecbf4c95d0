#include "yolov8_seg/masks.h"

#include "brellix/quantization.h"
#include "common/numeric.h"
#include "common/tensors.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstddef>

namespace ai_orvo::model {
namespace {

/// One plane of mask logits a row of `coefficients`.
///
/// The prototype width is the row count although it is the width of the region that is cut out later: the two
/// readings agree for square inputs, and any other shape is refused by OpenCV instead of giving skewed masks.
std::vector<cv::Mat> maskPlanes(const cv::Mat& coefficients, const cv::Mat& prototypes, int protoWidth) {
    // One expression on purpose: OpenCV multiplies the transposed factors, whose sums round in another order
    // than those of the transposed product.
    const cv::Mat logits = (coefficients * prototypes).t();
    std::vector<cv::Mat> planes;
    cv::split(logits.reshape(coefficients.rows, protoWidth), planes);
    return planes;
}

/// The part of a prototype plane that the image covers: the letterbox border, in prototype pixels, goes.
cv::Rect imageRegion(const YOLOv8Seg& model) {
    // Dividing first, then multiplying, in single precision decides which pixel the border ends at.
    const int left = truncateToInt(model.letterboxInfo.dw / static_cast<float>(model.inputSize.width) *
                                   static_cast<float>(model.protoWidth));
    const int top = truncateToInt(model.letterboxInfo.dh / static_cast<float>(model.inputSize.height) *
                                  static_cast<float>(model.protoHeight));
    return {left, top, wrappingSum(model.protoWidth, -left, -left),
            wrappingSum(model.protoHeight, -top, -top)};
}

/// \param logits one object's plane, without the letterbox border.
cv::Mat maskOf(const cv::Mat& logits, const cv::Rect& box, const cv::Size& imageSize) {
    cv::Mat resized;
    cv::resize(logits, resized, imageSize, 0, 0, cv::INTER_LINEAR);
    cv::Mat mask = cv::Mat::zeros(imageSize, CV_8U);
    if (box.width == 0 || box.height == 0) {
        return mask;
    }
    cv::Mat inside;
    cv::compare(resized(box), static_cast<double>(unsigmoid(0.5F)), inside, cv::CMP_GT);
    inside.copyTo(mask(box));
    return mask;
}

/// A zero matrix of one prototype a row.
cv::Mat emptyPrototypes(const YOLOv8Seg& model) {
    const int area = wrappingProduct(model.protoHeight, model.protoWidth);
    return cv::Mat::zeros(std::max(model.maskCoefCount, 0), std::max(area, 0), CV_32F);
}

}  // namespace

void assembleMasks(const YOLOv8Seg& model, const cv::Mat& coefficients, const cv::Mat& prototypes,
                   std::vector<Object>& objects) {
    const std::vector<cv::Mat> planes = maskPlanes(coefficients, prototypes, model.protoWidth);
    const cv::Size imageSize(truncateToInt(model.letterboxInfo.src_width),
                             truncateToInt(model.letterboxInfo.src_height));
    const cv::Rect region = imageRegion(model);
    for (std::size_t k = 0; k < planes.size(); ++k) {
        objects[k].mask = maskOf(planes[k](region), roundToInt(objects[k].rect), imageSize);
    }
}

void YOLOv8Seg::decodeMask_fp32(AIBuff& proto, cv::Mat& out) {
    out = emptyPrototypes(*this);
    const FloatView values(proto);
    const std::size_t count = std::min(values.size(), out.total());
    for (std::size_t i = 0; i < count; ++i) {
        out.ptr<float>()[i] = values[i];
    }
}

void YOLOv8Seg::decodeMask_i8(AIBuff& proto, cv::Mat& out) {
    out = emptyPrototypes(*this);
    const ByteView values(proto);
    const std::size_t count = std::min(values.size(), out.total());
    for (std::size_t i = 0; i < count; ++i) {
        out.ptr<float>()[i] = static_cast<float>(std::int64_t{values[i]} - proto.zp);
    }
}

}  // namespace ai_orvo::model
