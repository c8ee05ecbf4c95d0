#pragma once

/// \file
/// One model on one picture.

#include "files/broken_picture.h"
#include "run/picture_result.h"

#include <brellix/cv_model.h>

#include <opencv2/core.hpp>

#include <string>

namespace brellix::app {

/// \return what to throw where the engine answered a picture with `status`.
BrokenPicture engineFailed(int status);

/// Throws `BrokenPicture` where the engine fails, and what detection throws.
PictureResult detectOn(const cv::Mat& picture, const std::string& source, ai_orvo::model::CvModel& model);

}  // namespace brellix::app
