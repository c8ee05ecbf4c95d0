#include "yolov8_seg/masks.h"

#include "common/numeric.h"
#include "common/zeroed_image.h"
#include "yolov8_seg/mask_logits.h"
#include "yolov8_seg/resized_window.h"

#include <opencv2/imgproc.hpp>

#include <cstddef>
#include <cstdint>
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
    // Negated in 64 bits: the lowest int has no counterpart.
    const auto without = [](int length, std::int64_t border) {
        return wrappingSum(length, -border, -border);
    };
    return {left, top, without(model.protoWidth, left), without(model.protoHeight, top)};
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

/// Makes the masks of a frame, one after another.
class MaskAssembly {
  public:
    MaskAssembly(const cv::Mat& prototypes, const PlaneLayout& layout)
        : prototypes_(prototypes),
          layout_(layout),
          isInterpolated_(isInterpolated(layout.region.size(), layout.image)),
          resized_(layout.region.size(), layout.image) {}

    cv::Mat maskOf(const float* coefficients, const cv::Rect& box) {
        cv::Mat mask = zeroedImage(layout_.image, {box.y, wrappingSum(box.y, box.height)});
        if (box.width != 0 && box.height != 0) {
            isInterpolated_ ? resizeUnderBox(coefficients, box, mask(box))
                            : resizeWhole(coefficients, box, mask(box));
        }
        return mask;
    }

  private:
    /// For the sizes that OpenCV does not interpolate.
    void resizeWhole(const float* coefficients, const cv::Rect& box, cv::Mat mask) {
        maskLogits(coefficients, prototypes_, layout_.pitch, layout_.region, logits_);
        cv::Mat resized;
        cv::resize(cv::Mat(layout_.region.size(), CV_32F, logits_.data()), resized, layout_.image, 0, 0,
                   cv::INTER_LINEAR);
        cv::compare(resized(box), 0.0, mask, cv::CMP_GT);
    }

    /// For all others: only what lies under the box is multiplied and resized.
    void resizeUnderBox(const float* coefficients, const cv::Rect& box, const cv::Mat& mask) {
        const cv::Rect window = resized_.choose(box) + layout_.region.tl();
        maskLogits(coefficients, prototypes_, layout_.pitch, window, logits_);
        // A probability of one half is a logit of 0.
        resized_.markPositive(logits_.data(), mask);
    }

    const cv::Mat& prototypes_;
    const PlaneLayout& layout_;
    bool isInterpolated_;
    ResizedWindow resized_;
    std::vector<float> logits_;
};

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
    MaskAssembly masks(prototypes, layout);
    for (int k = 0; k < coefficients.rows; ++k) {
        Object& object = objects[static_cast<std::size_t>(k)];
        object.mask = masks.maskOf(coefficients.ptr<float>(k), roundToInt(object.rect));
    }
}

}  // namespace ai_orvo::model
