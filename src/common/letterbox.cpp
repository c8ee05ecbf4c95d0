#include "brellix/letterbox.h"

#include <opencv2/imgproc.hpp>

#include <cmath>

namespace ai_orvo::model {
namespace {

const cv::Scalar kPaddingColor(114, 114, 114, 0);

/// Rounds half away from zero. Lengths that no matrix can have are refused rather than converted.
int roundLength(float length) {
    const float rounded = std::round(length);
    constexpr float kLimit = 1.0e9F;
    if (!(std::abs(rounded) < kLimit)) {
        CV_Error(cv::Error::StsOutOfRange, "letterbox: source or target size is out of range");
    }
    return static_cast<int>(rounded);
}

/// Always a matrix of its own: a submatrix would let its surroundings into the border.
cv::Mat resizeOrClone(const cv::Mat& src, int width, int height) {
    if (src.cols == width && src.rows == height) {
        return src.clone();
    }
    cv::Mat resized;
    cv::resize(src, resized, cv::Size(width, height), 0, 0, cv::INTER_LINEAR);
    return resized;
}

}  // namespace

LetterboxInfo letterbox(const cv::Mat& src, cv::Mat& dst, cv::Size& target) {
    if (src.empty() || src.dims > 2) {
        CV_Error(cv::Error::StsBadSize,
                 "letterbox: the source image is empty or has more than two dimensions");
    }
    // Single precision decides the new size: a double scale rounds some sizes to another pixel count.
    const auto targetWidth = static_cast<float>(target.width);
    const auto targetHeight = static_cast<float>(target.height);
    const auto srcWidth = static_cast<float>(src.cols);
    const auto srcHeight = static_cast<float>(src.rows);

    const float scaleX = targetWidth / srcWidth;
    const float scaleY = targetHeight / srcHeight;
    const float scale = scaleY > scaleX ? scaleX : scaleY;

    const int newWidth = roundLength(srcWidth * scale);
    const int newHeight = roundLength(srcHeight * scale);
    const cv::Mat scaled = resizeOrClone(src, newWidth, newHeight);

    const float dw = (targetWidth - static_cast<float>(newWidth)) * 0.5F;
    const float dh = (targetHeight - static_cast<float>(newHeight)) * 0.5F;
    // The tenth sends the odd pixel of an odd padding to the bottom and to the right.
    const int top = roundLength(dh - 0.1F);
    const int bottom = roundLength(dh + 0.1F);
    const int left = roundLength(dw - 0.1F);
    const int right = roundLength(dw + 0.1F);
    cv::copyMakeBorder(scaled, dst, top, bottom, left, right, cv::BORDER_CONSTANT, kPaddingColor);

    return {1.0F / scale, dw, dh, srcHeight, srcWidth};
}

}  // namespace ai_orvo::model
