#pragma once

/// \file
/// Writing picture files.

#include <opencv2/core.hpp>

#include <string>

namespace brellix::app {

/// Writes the picture in the format that the path's extension names. Throws `Failure` where that cannot be
/// done; no half a file is left behind.
void writePicture(const std::string& path, const cv::Mat& picture);

/// Creates the folder with its parents, unless it exists. Throws `Failure`.
void createFolder(const std::string& folder);

}  // namespace brellix::app
