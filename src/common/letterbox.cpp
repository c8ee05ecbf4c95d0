#include "brellix/letterbox.h"

#include "common/letterbox_geometry.h"
#include "common/subsampling.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace ai_orvo::model {
namespace {

/// Rounds half away from zero. Lengths that no matrix can have are refused rather than converted.
int roundLength(float length) {
    const float rounded = std::round(length);
    constexpr float kLimit = 1.0e9F;
    if (!(std::abs(rounded) < kLimit)) {
        CV_Error(cv::Error::StsOutOfRange, "letterbox: source or target size is out of range");
    }
    return static_cast<int>(rounded);
}

const cv::Scalar kPaddingColor(kPaddingGrey, kPaddingGrey, kPaddingGrey, 0);

bool shareMemory(const cv::Mat& a, const cv::Mat& b) {
    return a.datastart < b.dataend && b.datastart < a.dataend;
}

/// The way of OpenCV's own functions, for images and sizes that they take or refuse.
void letterboxPlainly(const cv::Mat& src, const LetterboxGeometry& geometry, cv::Mat& dst) {
    // Always a matrix of its own: a submatrix would let its surroundings into the border.
    cv::Mat scaled;
    if (src.size() == geometry.scaled) {
        scaled = src.clone();
    } else {
        cv::resize(src, scaled, geometry.scaled, 0, 0, cv::INTER_LINEAR);
    }
    cv::copyMakeBorder(scaled, dst, geometry.top, geometry.bottom, geometry.left, geometry.right,
                       cv::BORDER_CONSTANT, kPaddingColor);
}

/// Whether `cv::resize` interpolates elements of this depth.
bool isScalable(int depth) {
    return depth == CV_8U || depth == CV_16U || depth == CV_16S || depth == CV_32F || depth == CV_64F;
}

}  // namespace

LetterboxGeometry letterboxGeometry(const cv::Mat& image, const cv::Size& target) {
    if (image.empty() || image.dims > 2) {
        CV_Error(cv::Error::StsBadSize,
                 "letterbox: the source image is empty or has more than two dimensions");
    }
    // Single precision decides the new size: a double scale rounds some sizes to another pixel count.
    const auto targetWidth = static_cast<float>(target.width);
    const auto targetHeight = static_cast<float>(target.height);
    const auto srcWidth = static_cast<float>(image.cols);
    const auto srcHeight = static_cast<float>(image.rows);

    const float scaleX = targetWidth / srcWidth;
    const float scaleY = targetHeight / srcHeight;
    const float scale = scaleY > scaleX ? scaleX : scaleY;

    const cv::Size scaled(roundLength(srcWidth * scale), roundLength(srcHeight * scale));
    const float dw = (targetWidth - static_cast<float>(scaled.width)) * 0.5F;
    const float dh = (targetHeight - static_cast<float>(scaled.height)) * 0.5F;
    // The tenth sends the odd pixel of an odd padding to the bottom and to the right.
    return {{1.0F / scale, dw, dh, srcHeight, srcWidth},
            scaled,
            roundLength(dh - 0.1F),
            roundLength(dh + 0.1F),
            roundLength(dw - 0.1F),
            roundLength(dw + 0.1F)};
}

void scaleInto(const cv::Mat& image, cv::Mat scaled) {
    if (image.size() == scaled.size()) {
        image.copyTo(scaled);
    } else if (const int factor = subsamplingFactor(image, scaled.size()); factor != 0) {
        subsample(image, factor, scaled);
    } else {
        // Of the right size and type already, `scaled` is filled where it lies.
        cv::resize(image, scaled, scaled.size(), 0, 0, cv::INTER_LINEAR);
    }
}

bool canLetterboxInto(const cv::Mat& image, const LetterboxGeometry& geometry) {
    return isScalable(image.depth()) && image.channels() <= 4 && !geometry.scaled.empty() &&
           std::min({geometry.top, geometry.bottom, geometry.left, geometry.right}) >= 0;
}

void letterboxInto(const cv::Mat& image, const LetterboxGeometry& geometry, cv::Mat padded) {
    const cv::Rect inside = geometry.inside();
    padded.rowRange(0, inside.y).setTo(kPaddingColor);
    padded.rowRange(inside.br().y, padded.rows).setTo(kPaddingColor);
    padded(cv::Rect(0, inside.y, inside.x, inside.height)).setTo(kPaddingColor);
    padded(cv::Rect(inside.br().x, inside.y, geometry.right, inside.height)).setTo(kPaddingColor);
    scaleInto(image, padded(inside));
}

LetterboxInfo letterbox(const cv::Mat& src, cv::Mat& dst, cv::Size& target) {
    const LetterboxGeometry geometry = letterboxGeometry(src, target);
    if (!canLetterboxInto(src, geometry) || shareMemory(src, dst)) {
        letterboxPlainly(src, geometry, dst);
        return geometry.info;
    }
    dst.create(geometry.padded(), src.type());
    letterboxInto(src, geometry, dst);
    return geometry.info;
}

}  // namespace ai_orvo::model
