#pragma once

/// \file
/// Which class of the network is which category of the dataset.

#include "evaluation/dataset.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace brellix::app {

/// What is known of the network's classes.
struct NetworkClasses {
    std::vector<std::string> names;  ///< by label, an empty one for a gap; none where nobody named them
    std::size_t count = 0;
};

enum class MappingRule {
    kByName,   ///< equal names, those that repeat by YOLO's index; where a side has none, by order
    kByOrder,  ///< category ids in rising order are the labels 0, 1, 2 ...
};

/// Index of the category by the label of the network; labels without a category are missing.
using ClassMapping = std::map<int, std::size_t>;

/// Class indices of YOLO's labels that have no names are the network's own by either rule.
///
/// Throws `Failure` where a category that has objects has no class, or one of several, and says what to do.
ClassMapping mapClasses(const Dataset& dataset, const NetworkClasses& classes, MappingRule rule);

}  // namespace brellix::app
