#include "reference/letterbox.h"

#include "reference/rounding.h"

#include <opencv2/imgproc.hpp>

namespace brellix::reference {

ai_orvo::model::LetterboxInfo letterbox(const cv::Mat& src, cv::Mat& dst, const cv::Size& target) {
    // 0 / 0 below would become another size on every processor.
    CV_Assert(!src.empty());

    const auto targetWidth = static_cast<float>(target.width);
    const auto targetHeight = static_cast<float>(target.height);
    const auto srcWidth = static_cast<float>(src.cols);
    const auto srcHeight = static_cast<float>(src.rows);

    const float byHeight = targetHeight / srcHeight;
    const float byWidth = targetWidth / srcWidth;
    const float scale = byHeight > byWidth ? byWidth : byHeight;

    const int newWidth = roundHalfAwayFromZero(srcWidth * scale);
    const int newHeight = roundHalfAwayFromZero(srcHeight * scale);

    cv::Mat scaled;
    if (src.cols != newWidth || src.rows != newHeight) {
        cv::resize(src, scaled, cv::Size(newWidth, newHeight), 0.0, 0.0, cv::INTER_LINEAR);
    } else {
        scaled = src.clone();
    }

    const float dw = (targetWidth - static_cast<float>(newWidth)) * 0.5F;
    const float dh = (targetHeight - static_cast<float>(newHeight)) * 0.5F;
    const int top = roundHalfAwayFromZero(dh - 0.1F);
    const int bottom = roundHalfAwayFromZero(dh + 0.1F);
    const int left = roundHalfAwayFromZero(dw - 0.1F);
    const int right = roundHalfAwayFromZero(dw + 0.1F);
    cv::copyMakeBorder(scaled, dst, top, bottom, left, right, cv::BORDER_CONSTANT,
                       cv::Scalar(114.0, 114.0, 114.0, 0.0));

    return {1.0F / scale, dw, dh, srcHeight, srcWidth};
}

}  // namespace brellix::reference
