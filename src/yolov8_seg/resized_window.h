#pragma once

/// \file
/// A part of a bilinearly resized plane, without resizing the rest.

#include <opencv2/core.hpp>

#include <vector>

namespace ai_orvo::model {

/// How OpenCV's bilinear resize makes one coordinate of the result from two of the source:
/// source[low] * lowWeight + source[high] * highWeight.
struct BilinearTap {
    int low;
    int high;  ///< equal to `low` where the source ends; then only `low` counts along a line
    float lowWeight;
    float highWeight;
};

/// The taps of the results `first` to `first + count - 1` when `sourceLength` values become `length`.
///
/// Lines and columns end differently: along a line the weight of a neighbour that does not exist is dropped,
/// across lines the last line stands in for it with its weight.
std::vector<BilinearTap> columnTaps(int sourceLength, int length, int first, int count);
std::vector<BilinearTap> lineTaps(int sourceLength, int length, int first, int count);

/// Writes 255 where the resized plane exceeds `threshold`, 0 elsewhere.
///
/// \param plane     source values, `pitch` a line; the taps' indices are relative to it.
/// \param threshold compared strictly.
/// \param mask      one row a line tap, one column a column tap, CV_8U.
void thresholdResized(const float* plane, int pitch, const std::vector<BilinearTap>& columns,
                      const std::vector<BilinearTap>& lines, float threshold, cv::Mat mask);

}  // namespace ai_orvo::model
