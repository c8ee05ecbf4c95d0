#pragma once

/// \file
/// Whether a file can be read: asked before parsers and decoders, most of which do not say why it cannot.

#include <string>

namespace brellix::app {

/// Throws `Failure` that names the path, called `what`, unless a file there can be read. It may be a pipe.
void requireReadableFile(const std::string& path, const std::string& what);

/// The same of a picture or a video, without which a run goes on: throws `BrokenPicture` with the reason
/// (without the path) unless `path` names a regular file with something in it that can be read.
void requireReadableSource(const std::string& path);

}  // namespace brellix::app
