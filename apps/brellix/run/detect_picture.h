#pragma once

/// \file
/// One model on one picture.

#include "run/picture_result.h"

#include <brellix/cv_model.h>

#include <opencv2/core.hpp>

#include <string>

namespace brellix::app {

/// Throws `BrokenPicture` where the engine fails, and what detection throws.
PictureResult detectOn(const cv::Mat& picture, const std::string& source, ai_orvo::model::CvModel& model);

}  // namespace brellix::app
