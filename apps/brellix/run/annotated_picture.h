#pragma once

/// \file
/// A picture with what was found in it drawn in.

#include "config/class_list.h"
#include "run/picture_result.h"

#include <opencv2/core.hpp>

namespace brellix::app {

/// How objects are drawn.
struct Drawing {
    const ClassList& classes;
    bool withMasks;  ///< the objects come from a model that makes masks
};

/// \return a copy of the picture with the objects drawn in. Any label can be drawn: the colours repeat.
cv::Mat drawAnnotated(const PictureResult& result, const Drawing& drawing);

}  // namespace brellix::app
