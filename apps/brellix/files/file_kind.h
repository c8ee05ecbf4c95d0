#pragma once

/// \file
/// What a file is, as far as its name and its first bytes say.

#include <string>

namespace brellix::app {

/// \return the extension of the path with its point, in lower case.
std::string lowerCaseExtension(const std::string& path);

bool hasPictureExtension(const std::string& path);
bool hasVideoExtension(const std::string& path);

/// \return whether the file is a video: by its extension, or, where that is neither a picture's nor a
///         video's, by the mark that the common containers begin with.
bool isVideoFile(const std::string& path);

}  // namespace brellix::app
