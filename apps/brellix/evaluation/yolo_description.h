#pragma once

/// \file
/// The YAML file that describes a dataset in YOLO's form.

#include "evaluation/dataset.h"

#include <string>
#include <vector>

namespace brellix::app {

struct YoloDescription {
    std::string file;  ///< that says the following; empty where a folder is all that there is
    std::vector<std::string> pictures;  ///< folders or files
    std::vector<Category> categories;   ///< of "names", by rising class index; empty where it has none
};

/// Reads "path", "val" and "names" of the file at `path`. Throws `Failure`.
YoloDescription readYoloDescription(const std::string& path);

}  // namespace brellix::app
