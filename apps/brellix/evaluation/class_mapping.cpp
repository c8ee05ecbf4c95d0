#include "evaluation/class_mapping.h"

#include "console/failure.h"
#include "console/text.h"

#include <algorithm>

namespace brellix::app {
namespace {

constexpr std::size_t kMostNamesInMessage = 10;

bool hasNames(const Dataset& dataset) {
    return !dataset.categories.empty() &&
           std::none_of(dataset.categories.begin(), dataset.categories.end(),
                        [](const Category& category) { return category.name.empty(); });
}

std::string someNames(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), kMostNamesInMessage); ++i) {
        text += (text.empty() ? "" : ", ") + printable(names[i]);
    }
    return text + (names.size() > kMostNamesInMessage ? ", ..." : "");
}

ClassMapping mapByName(const Dataset& dataset, const NetworkClasses& classes) {
    ClassMapping mapping;
    for (std::size_t i = 0; i < dataset.categories.size(); ++i) {
        const Category& category = dataset.categories[i];
        const auto found = std::find(classes.names.begin(), classes.names.end(), category.name);
        if (found != classes.names.end()) {
            mapping[static_cast<int>(found - classes.names.begin())] = i;
        } else if (category.isUsed) {
            throw wrongUse(dataset.path + ": the category \"" + printable(category.name) + "\" (id " +
                           std::to_string(category.id) +
                           ") has objects, and no class of the network is called "
                           "so (" +
                           someNames(classes.names) +
                           "); correct the names with --names FILE, or say "
                           "--by-order where the sorted category ids are the classes 0, 1, 2 ...");
        }
    }
    return mapping;
}

/// Class indices are what they say; nothing but their range can be wrong.
ClassMapping mapByLabel(const Dataset& dataset, const NetworkClasses& classes) {
    ClassMapping mapping;
    for (std::size_t i = 0; i < dataset.categories.size(); ++i) {
        const Category& category = dataset.categories[i];
        if (category.id < 0 || static_cast<std::uint64_t>(category.id) >= classes.count) {
            throw wrongUse((category.seenAt.empty() ? dataset.path : category.seenAt) + ": the class is " +
                           std::to_string(category.id) + ", and class_num of the configuration is " +
                           std::to_string(classes.count) +
                           ": the dataset and the network do not belong together");
        }
        mapping[static_cast<int>(category.id)] = i;
    }
    return mapping;
}

ClassMapping mapByOrder(const Dataset& dataset, const NetworkClasses& classes) {
    if (dataset.categories.size() != classes.count) {
        throw wrongUse(dataset.path + ": there are " + std::to_string(dataset.categories.size()) +
                       " categories, and class_num of the configuration is " + std::to_string(classes.count) +
                       ", so their order does not say which is which; name both, the classes with "
                       "class_mapping in the configuration or with --names FILE");
    }
    ClassMapping mapping;
    for (std::size_t i = 0; i < dataset.categories.size(); ++i) {
        mapping[static_cast<int>(i)] = i;
    }
    return mapping;
}

}  // namespace

ClassMapping mapClasses(const Dataset& dataset, const NetworkClasses& classes, MappingRule rule) {
    if (rule == MappingRule::kByName && hasNames(dataset) && !classes.names.empty()) {
        return mapByName(dataset, classes);
    }
    return dataset.idsAreLabels ? mapByLabel(dataset, classes) : mapByOrder(dataset, classes);
}

}  // namespace brellix::app
