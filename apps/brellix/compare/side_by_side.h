#pragma once

/// \file
/// Two results of one picture, to look at.

#include "compare/picture_comparison.h"
#include "config/class_list.h"
#include "run/annotated_picture.h"
#include "run/picture_result.h"

#include <opencv2/core.hpp>

#include <string>

namespace brellix::app {

/// One half.
struct SideOfPicture {
    const PictureResult& result;
    Drawing drawing;
    std::string title;
};

/// \return the two results drawn beside each other, A left and B right; below them what differs. Objects of
///         one side only, or of another class, are framed in red on both, those on which the sides agree
///         least in orange.
cv::Mat drawSideBySide(const SideOfPicture& a, const SideOfPicture& b, const PictureComparison& comparison,
                       const ClassList& classes);

}  // namespace brellix::app
