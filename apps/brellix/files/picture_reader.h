#pragma once

/// \file
/// Reading picture files.

#include <opencv2/core.hpp>

#include <string>

namespace brellix::app {

/// \return the picture as 8-bit BGR, turned upright as its EXIF orientation says.
/// Throws `BrokenPicture` with the reason (without the path).
cv::Mat readPicture(const std::string& path);

/// The same from the bytes of a file.
cv::Mat decodePicture(const std::string& bytes);

}  // namespace brellix::app
