#pragma once

/// \file
/// From the inputs on the command line to picture files.

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace brellix::app {

struct InputList {
    std::vector<std::string> pictures;  ///< in the order given; what a folder or pattern gives is sorted
    std::size_t repeated = 0;           ///< how often a picture was named again; it is listed once
};

/// The input that stands for standard input.
inline constexpr const char* kStandardInput = "-";

/// What the inputs may be besides pictures.
enum class Accepted {
    kPictures,
    kStreams  ///< videos, which folders then give, too; cameras; "-" for standard input
};

/// Is told what in a folder cannot be read, and why. Where it returns, the rest of the folder goes on.
using UnreadableHandler = std::function<void(const std::string& message)>;

/// Expands files, folders and glob patterns.
///
/// A folder gives the files in it that have an accepted extension, hidden ones left out; with `recursive`
/// those of its subfolders too (links to folders are not followed). A subfolder that cannot be read, and a
/// link that leads nowhere, go to `onUnreadable`. A file that is named itself is taken whatever its
/// extension. A name that exists is never read as a pattern.
/// Throws `Failure` for an input that gives no picture, and for a folder named itself that cannot be read.
InputList expandInputs(const std::vector<std::string>& inputs, bool recursive, Accepted accepted,
                       const UnreadableHandler& onUnreadable);

/// \return the names that the pattern matches, sorted; none where nothing does.
std::vector<std::string> matchesOf(const std::string& pattern);

}  // namespace brellix::app
