#pragma once

/// \file
/// One model on one picture.

#include "picture_result.h"

#include <brellix/cv_model.h>

#include <opencv2/core.hpp>

#include <string>
#include <vector>

namespace brellix::app {

/// Throws `BrokenPicture` where the engine fails, and what detection throws.
PictureResult detectOn(const cv::Mat& picture, const std::string& source, ai_orvo::model::CvModel& model);

/// Throws `BrokenPicture` where a box or a probability is not finite, with which nothing can be measured.
void requireNumbers(const std::vector<ai_orvo::model::Object>& objects);

}  // namespace brellix::app
