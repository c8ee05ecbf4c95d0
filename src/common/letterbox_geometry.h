#pragma once

/// \file
/// Where a letterboxed image lies in the network's input, and how it gets there.

#include "brellix/letterbox.h"

#include <opencv2/core.hpp>

namespace ai_orvo::model {

/// Value of the padding's first three channels; a fourth one is 0.
inline constexpr int kPaddingGrey = 114;

struct LetterboxGeometry {
    LetterboxInfo info;
    cv::Size scaled;  ///< of the image without the padding
    int top;          ///< rows of padding; negative where the scaled image would not fit
    int bottom;
    int left;
    int right;

    /// Of the image with its padding.
    cv::Size padded() const { return {left + scaled.width + right, top + scaled.height + bottom}; }

    /// Where the scaled image lies in the padded one.
    cv::Rect inside() const { return {{left, top}, scaled}; }
};

/// \throws cv::Exception for an empty image and for sizes out of range.
LetterboxGeometry letterboxGeometry(const cv::Mat& image, const cv::Size& target);

/// Whether `letterboxInto` can take the image: it has pixels left, padding that is not negative, at most four
/// channels, and elements that can be scaled.
bool canLetterboxInto(const cv::Mat& image, const LetterboxGeometry& geometry);

/// Scales `image` (bilinear) to the size of `scaled`, which has its type and shares no memory with it.
void scaleInto(const cv::Mat& image, cv::Mat scaled);

/// Scales `image` into the middle of `padded` and fills what lies around it.
/// \param padded of the geometry's size and the image's type; shares no memory with the image.
void letterboxInto(const cv::Mat& image, const LetterboxGeometry& geometry, cv::Mat padded);

}  // namespace ai_orvo::model
