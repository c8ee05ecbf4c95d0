#pragma once

/// \file
/// The product of mask coefficients and prototypes, where it is needed.

#include <opencv2/core.hpp>

#include <vector>

namespace ai_orvo::model {

/// The logits of one object in a window of the prototype plane.
///
/// Each is the sum over the planes of coefficient * prototype, in double precision and in the order of the
/// planes, then rounded to single: what OpenCV's matrix product gives, bit for bit.
/// \param coefficients one value a row of `prototypes`.
/// \param prototypes   one plane a row, `pitch` values a line, CV_32F.
/// \param window       inside the plane.
/// \param logits       becomes window.height lines of window.width values.
void maskLogits(const float* coefficients, const cv::Mat& prototypes, int pitch, const cv::Rect& window,
                std::vector<float>& logits);

}  // namespace ai_orvo::model
