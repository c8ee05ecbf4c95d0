#pragma once

/// \file
/// Writing pictures.

#include <opencv2/core.hpp>

#include <string>

namespace brellix::app {

/// Creates the folder with its parents where it does not exist. Throws `Failure`.
void createFolder(const std::string& folder);

/// Writes the picture in the format that the path's extension names. Throws `Failure` where that cannot be
/// done, and then leaves no part of the file.
void writePictureFile(const std::string& path, const cv::Mat& picture);

}  // namespace brellix::app
