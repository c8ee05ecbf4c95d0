#include "evaluation/class_mapping.h"

#include "console/failure.h"
#include "console/text.h"

#include <algorithm>
#include <cstdint>
#include <set>

namespace brellix::app {
namespace {

constexpr std::size_t kMostNamesInMessage = 10;

bool isNamed(const Category& category) {
    return !category.name.empty();
}

bool hasAnyName(const Dataset& dataset) {
    return std::any_of(dataset.categories.begin(), dataset.categories.end(), isNamed);
}

bool hasNames(const Dataset& dataset) {
    return hasAnyName(dataset) && std::all_of(dataset.categories.begin(), dataset.categories.end(), isNamed);
}

std::string someNames(const std::vector<std::string>& names) {
    std::vector<std::string> shown;
    for (const std::string& name : names) {
        if (shown.size() == kMostNamesInMessage) {
            shown.emplace_back("...");
            break;
        }
        if (!name.empty()) {
            shown.push_back(printable(name));
        }
    }
    return joined(shown);
}

/// Indices of the classes that have the same name, by that name.
using IndicesByName = std::map<std::string, std::set<std::int64_t>>;

IndicesByName indicesIn(const std::vector<Category>& categories) {
    IndicesByName indices;
    for (const Category& category : categories) {
        indices[category.name].insert(category.id);
    }
    return indices;
}

IndicesByName indicesIn(const std::vector<std::string>& names) {
    IndicesByName indices;
    for (std::size_t i = 0; i < names.size(); ++i) {
        indices[names[i]].insert(static_cast<std::int64_t>(i));
    }
    return indices;
}

std::string listed(const std::set<std::int64_t>& indices) {
    std::vector<std::string> texts;
    for (const std::int64_t index : indices) {
        texts.push_back(std::to_string(index));
    }
    return joined(texts);
}

std::string usedCategory(const Dataset& dataset, const Category& category) {
    return dataset.path + ": the category \"" + printable(category.name) + "\" (id " +
           std::to_string(category.id) + ") has objects, and ";
}

Failure unknownName(const Dataset& dataset, const Category& category,
                    const std::vector<std::string>& classNames) {
    return wrongUse(usedCategory(dataset, category) + "no class of the network is called so (" +
                    someNames(classNames) +
                    "); correct the names with --names FILE, or say --by-order where the sorted category ids "
                    "are the classes 0, 1, 2 ...");
}

Failure repeatedName(const Dataset& dataset, const Category& category, const std::set<std::int64_t>& ids,
                     const std::set<std::int64_t>& labels) {
    return wrongUse(usedCategory(dataset, category) +
                    "its name does not say which class it is: the dataset calls " + listed(ids) +
                    " so, the network " + listed(labels) +
                    "; give each a name of its own, in the dataset and with --names FILE, or say --by-order "
                    "where the sorted category ids are the classes 0, 1, 2 ...");
}

ClassMapping mapByName(const Dataset& dataset, const NetworkClasses& classes) {
    const IndicesByName idsOf = indicesIn(dataset.categories);
    const IndicesByName labelsOf = indicesIn(classes.names);
    ClassMapping mapping;
    for (std::size_t i = 0; i < dataset.categories.size(); ++i) {
        const Category& category = dataset.categories[i];
        const std::set<std::int64_t>& ids = idsOf.at(category.name);
        const auto found = labelsOf.find(category.name);
        const auto labels = found == labelsOf.end() ? std::set<std::int64_t>() : found->second;
        if (ids.size() == 1 && labels.size() == 1) {
            mapping[static_cast<int>(*labels.begin())] = i;
        } else if (dataset.idsAreLabels && ids == labels) {
            mapping[static_cast<int>(category.id)] = i;
        } else if (category.isUsed) {
            throw labels.empty() ? unknownName(dataset, category, classes.names)
                                 : repeatedName(dataset, category, ids, labels);
        }
    }
    return mapping;
}

/// Class indices are what they say; nothing but the range of those that occur can be wrong.
ClassMapping mapByLabel(const Dataset& dataset, const NetworkClasses& classes) {
    ClassMapping mapping;
    for (std::size_t i = 0; i < dataset.categories.size(); ++i) {
        const Category& category = dataset.categories[i];
        const bool isLabel = category.id >= 0 && static_cast<std::uint64_t>(category.id) < classes.count;
        if (!isLabel && category.isUsed) {
            throw wrongUse(category.seenAt + ": the class is " + std::to_string(category.id) +
                           ", and class_num of the configuration is " + std::to_string(classes.count) +
                           ": the dataset and the network do not belong together");
        }
        if (isLabel) {
            mapping[static_cast<int>(category.id)] = i;
        }
    }
    return mapping;
}

ClassMapping mapByOrder(const Dataset& dataset, const NetworkClasses& classes) {
    if (dataset.categories.size() != classes.count) {
        throw wrongUse(dataset.path + (dataset.categories.size() == 1 ? ": there is " : ": there are ") +
                       counted(dataset.categories.size(), "category", "categories") +
                       ", and class_num of the configuration is " + std::to_string(classes.count) +
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
    return dataset.idsAreLabels && !hasAnyName(dataset) ? mapByLabel(dataset, classes)
                                                        : mapByOrder(dataset, classes);
}

}  // namespace brellix::app
