#pragma once

/// \file
/// Class-name lists and path tests. Several threads may call these, each with a list and a document of its
/// own: yaml-cpp's documents are not to be shared, even for reading.

#include "brellix/export.h"

#include <yaml-cpp/yaml.h>

#include <string>
#include <vector>

namespace ai_orvo::model {

/// Appends the lines of a text file to `names`, one label a line, unchanged: blanks, empty lines and a
/// carriage return before the line feed stay. A file that cannot be opened appends nothing.
///
/// \param path  the file.
/// \param names position i becomes the label of class i where it was empty before; it is not cleared.
BRELLIX_API void read_class_name(std::string path, std::vector<std::string>& names);

/// Fills `names` from the map "class_mapping" (class index to label) of a configuration document.
///
/// The list is resized to the number of entries and grows where an index asks for it; gaps hold "NO_TYPE".
/// Entries whose key or value is no scalar and negative indices are skipped; the first key that is no
/// integer ends the reading. Nothing of yaml-cpp is thrown: a missing map leaves `names` as it was.
///
/// The highest index decides how long the list gets: {2000000000: x} asks for 64 GB. Look at the indices of a
/// document from elsewhere first; `std::bad_alloc` reaches the caller.
///
/// \param config root map of the document; yaml-cpp's nodes are for one thread at a time, even for reading.
/// \param names  receives the labels, indexed by class.
BRELLIX_API void read_class_name(const YAML::Node& config, std::vector<std::string>& names);

/// \return whether `path` is an existing regular file (symbolic links are followed). A path that does not
///         exist is reported on standard output.
BRELLIX_API bool IsFile(const std::string& path);

/// \return whether `path` is an existing directory (symbolic links are followed). Silent.
BRELLIX_API bool IsFolder(const std::string& path);

}  // namespace ai_orvo::model
