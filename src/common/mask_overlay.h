#pragma once

/// \file
/// Objects' masks laid over an image in colours.

#include "brellix/cv_model.h"

#include <opencv2/core.hpp>

#include <vector>

namespace ai_orvo::model {

/// \return half the image plus 0.8 of the same image with each masked pixel in its object's colour (the last
///         object's where several are) plus 1, saturated. An object without a mask colours nothing.
/// \param colors one an object.
/// \throws cv::Exception for a mask that is not as large as the image.
cv::Mat overlayMasks(const cv::Mat& image, const std::vector<Object>& objects,
                     const std::vector<cv::Scalar>& colors);

}  // namespace ai_orvo::model
