#pragma once

/// \file
/// Masks as text.

#include <opencv2/core.hpp>

#include <string>

namespace brellix::app {

/// \return COCO's compressed run lengths of an 8-bit mask, in which everything but 0 belongs to the object.
///
/// The runs go down the columns, from left to right, and take turns, outside first; from the fourth on each
/// is written as its difference from the one two before. A number is written in groups of five bits, the
/// lowest first, each as a character from '0' on; bit 5 says that more follow, bit 4 of the last is the sign.
std::string cocoRunLengths(const cv::Mat& mask);

}  // namespace brellix::app
