#pragma once

/// \file
/// Two results of one picture, to look at.

#include "class_list.h"
#include "comparison/picture_comparison.h"

#include <opencv2/core.hpp>

#include <string>
#include <vector>

namespace brellix::app {

/// \return what differs, a line each, the worst first; at least one.
std::vector<std::string> describeDifferences(const PictureComparison& comparison, const ClassList& classes);

/// One half: the picture with its objects drawn in, and what to call it.
struct SidePicture {
    cv::Mat drawn;
    std::string title;
};

/// \return the halves beside each other, A left and B right, both `drawn` of one size; below them what
///         differs. Objects of one side only, or of another class, are framed on both.
cv::Mat drawSideBySide(const SidePicture& a, const SidePicture& b, const PictureComparison& comparison,
                       const ClassList& classes);

}  // namespace brellix::app
