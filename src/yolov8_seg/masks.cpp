#include "yolov8_seg/masks.h"

#include "brellix/quantization.h"
#include "common/numeric.h"
#include "common/tensors.h"
#include "common/zeroed_image.h"
#include "yolov8_seg/mask_logits.h"
#include "yolov8_seg/resized_window.h"

#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace ai_orvo::model {
namespace {

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

/// The taps with `offset` taken off their indices.
std::vector<BilinearTap> relativeTo(int offset, std::vector<BilinearTap> taps) {
    for (BilinearTap& tap : taps) {
        tap.low -= offset;
        tap.high -= offset;
    }
    return taps;
}

/// The span of source values that the taps touch; taps rise.
cv::Range spanOf(const std::vector<BilinearTap>& taps) {
    return {taps.front().low, taps.back().high + 1};
}

/// OpenCV averages four pixels instead of interpolating where both sides are exactly halved, and copies where
/// nothing changes.
bool isInterpolated(const cv::Size& source, const cv::Size& result) {
    const bool isHalved = source.width == 2LL * result.width && source.height == 2LL * result.height;
    return !isHalved && source != result;
}

/// How the prototype planes lie in memory and which part of them shows the image.
struct PlaneLayout {
    int pitch;        ///< values a line
    cv::Rect region;  ///< what the image covers
    cv::Size image;   ///< size of the source image
};

/// The mask of an object, resized as a whole. For the sizes that OpenCV does not interpolate.
void resizeWhole(const float* coefficients, const cv::Mat& prototypes, const PlaneLayout& layout,
                 const cv::Rect& box, cv::Mat mask) {
    std::vector<float> logits;
    maskLogits(coefficients, prototypes, layout.pitch, layout.region, logits);
    cv::Mat resized;
    cv::resize(cv::Mat(layout.region.size(), CV_32F, logits.data()), resized, layout.image, 0, 0,
               cv::INTER_LINEAR);
    cv::compare(resized(box), static_cast<double>(unsigmoid(0.5F)), mask, cv::CMP_GT);
}

/// The same for all other sizes: only what lies under the box is multiplied and resized.
void resizeUnderBox(const float* coefficients, const cv::Mat& prototypes, const PlaneLayout& layout,
                    const cv::Rect& box, cv::Mat mask) {
    const auto columns = columnTaps(layout.region.width, layout.image.width, box.x, box.width);
    const auto lines = lineTaps(layout.region.height, layout.image.height, box.y, box.height);
    const cv::Range across = spanOf(columns);
    const cv::Range down = spanOf(lines);
    const cv::Rect window(layout.region.x + across.start, layout.region.y + down.start, across.size(),
                          down.size());
    std::vector<float> logits;
    maskLogits(coefficients, prototypes, layout.pitch, window, logits);
    thresholdResized(logits.data(), window.width, relativeTo(across.start, columns),
                     relativeTo(down.start, lines), unsigmoid(0.5F), mask);
}

cv::Mat maskOf(const float* coefficients, const cv::Mat& prototypes, const PlaneLayout& layout,
               const cv::Rect& box) {
    cv::Mat mask = zeroedImage(layout.image);
    if (box.width == 0 || box.height == 0) {
        return mask;
    }
    const auto assemble = isInterpolated(layout.region.size(), layout.image) ? resizeUnderBox : resizeWhole;
    assemble(coefficients, prototypes, layout, box, mask(box));
    return mask;
}

/// Raises OpenCV's own error for a part that no plane has.
void requireRegion(const cv::Mat& prototypes, const cv::Size& plane, const PlaneLayout& layout) {
    CV_Assert(prototypes.cols == static_cast<std::int64_t>(plane.width) * plane.height);
    // A letterbox record may hold anything, and its sums need not fit 32 bits.
    const auto liesInside = [](std::int64_t start, std::int64_t length, std::int64_t whole) {
        return start >= 0 && length > 0 && start + length <= whole;
    };
    CV_Assert(liesInside(layout.region.x, layout.region.width, plane.width));
    CV_Assert(liesInside(layout.region.y, layout.region.height, plane.height));
    CV_Assert(layout.image.width > 0 && layout.image.height > 0);
}

/// A matrix of one prototype a row, of which the first `count` elements are still to be written; those that
/// the tensor does not hold are 0.
cv::Mat prototypeMatrix(const YOLOv8Seg& model, std::size_t available, std::size_t& count) {
    const int area = std::max(wrappingProduct(model.protoHeight, model.protoWidth), 0);
    cv::Mat matrix(std::max(model.maskCoefCount, 0), area, CV_32F);
    count = std::min(available, matrix.total());
    if (count < matrix.total()) {
        matrix.setTo(0.0F);
    }
    return matrix;
}

/// out[i] = bytes[i] - zeroPoint, exactly.
void subtractZeroPoint(const std::int8_t* bytes, std::size_t count, int zeroPoint, float* out) {
    std::size_t i = 0;
#if CV_SIMD128
    // Beyond this the difference would not fit 32 bits, or not be a float.
    constexpr int kExactLimit = 1 << 23;
    if (zeroPoint >= -kExactLimit && zeroPoint <= kExactLimit) {
        const cv::v_int32x4 zero = cv::v_setall_s32(zeroPoint);
        for (; i + 4 <= count; i += 4) {
            cv::v_store(out + i, cv::v_cvt_f32(cv::v_load_expand_q(bytes + i) - zero));
        }
    }
#endif
    for (; i < count; ++i) {
        out[i] = static_cast<float>(std::int64_t{bytes[i]} - zeroPoint);
    }
}

}  // namespace

void assembleMasks(const YOLOv8Seg& model, const cv::Mat& coefficients, const cv::Mat& prototypes,
                   std::vector<Object>& objects) {
    // The prototype width is the number of lines although it is the width of the region that is cut out: the
    // two readings agree for square inputs, and most other shapes are refused instead of giving skewed masks.
    const cv::Size plane(model.protoHeight, model.protoWidth);
    const cv::Size image(truncateToInt(model.letterboxInfo.src_width),
                         truncateToInt(model.letterboxInfo.src_height));
    const PlaneLayout layout{plane.width, imageRegion(model), image};
    requireRegion(prototypes, plane, layout);
    for (int k = 0; k < coefficients.rows; ++k) {
        Object& object = objects[static_cast<std::size_t>(k)];
        object.mask = maskOf(coefficients.ptr<float>(k), prototypes, layout, roundToInt(object.rect));
    }
}

void YOLOv8Seg::decodeMask_fp32(AIBuff& proto, cv::Mat& out) {
    std::size_t count = 0;
    out = prototypeMatrix(*this, FloatView(proto).size(), count);
    if (count != 0) {
        std::memcpy(out.data, proto.data->data(), count * sizeof(float));
    }
}

void YOLOv8Seg::decodeMask_i8(AIBuff& proto, cv::Mat& out) {
    std::size_t count = 0;
    out = prototypeMatrix(*this, ByteView(proto).size(), count);
    if (count != 0) {
        subtractZeroPoint(proto.data->data(), count, proto.zp, out.ptr<float>());
    }
}

}  // namespace ai_orvo::model
