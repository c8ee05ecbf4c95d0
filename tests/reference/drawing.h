#pragma once

/// \file
/// Drawing objects onto a picture.

#include "brellix/cv_model.h"

#include <opencv2/core.hpp>

#include <string>
#include <vector>

namespace brellix::reference {

using ColorTable = std::vector<std::vector<unsigned int>>;

/// The picture with boxes and small labels.
/// \throws std::out_of_range for a label outside the tables or a colour of fewer than three values.
cv::Mat drawObjects(const cv::Mat& image, const std::vector<ai_orvo::model::Object>& objects,
                    const std::vector<std::string>& classNames, const ColorTable& colors);

/// The brightened picture with masks, boxes and large labels. An object without a mask colours nothing.
/// \throws std::out_of_range as above; cv::Exception for a mask of another size than the picture.
cv::Mat drawObjectsMasks(const cv::Mat& image, const std::vector<ai_orvo::model::Object>& objects,
                         const std::vector<std::string>& classNames, const ColorTable& colors,
                         const ColorTable& maskColors);

}  // namespace brellix::reference
