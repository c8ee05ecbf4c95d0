#include "init/init_names.h"

#include "config/class_list.h"
#include "console/text.h"

#include <optional>
#include <vector>

namespace brellix::app {
namespace {

constexpr const char* kMetadataKey = "names";

IndexedNames namesOfFile(const std::string& path) {
    const ClassList list(path, YAML::Node());
    IndexedNames names;
    for (int label = 0; static_cast<std::size_t>(label) < list.names().size(); ++label) {
        names[label] = list.nameOf(label);
    }
    return names;
}

IndexedNames numbers(int classNum) {
    IndexedNames names;
    for (int label = 0; label < classNum; ++label) {
        names[label] = std::to_string(label);
    }
    return names;
}

/// Nothing where the metadata hold no names, or none that can be read.
std::optional<IndexedNames> namesOfMetadata(const NetworkFacts& network, Console& console) {
    const auto entry = network.metadata.find(kMetadataKey);
    if (entry == network.metadata.end()) {
        return std::nullopt;
    }
    std::optional<IndexedNames> names = parseClassNames(entry->second);
    if (!names) {
        console.warning(network.path + ": the metadata \"names\" are no list of names, so the classes are " +
                        "called by their number; --names FILE gives them names");
    }
    return names;
}

/// A network's outputs, not a list, say how many classes there are. A class that `class_mapping` leaves out
/// has the name NO_TYPE in the library, so that each gets an entry.
void fitTo(int classNum, InitialNames& initial, Console& console) {
    IndexedNames& names = initial.names;
    const std::size_t listed = names.size();
    names.erase(names.lower_bound(classNum), names.end());
    const std::size_t used = names.size();
    const IndexedNames byNumber = numbers(classNum);
    names.insert(byNumber.begin(), byNumber.end());
    std::vector<std::string> faults;
    if (used < listed) {
        faults.push_back(counted(listed - used, "name") + " past the last class left out");
    }
    if (used < names.size()) {
        faults.push_back(counted(names.size() - used, "class", "classes") +
                         " without a name called by number");
    }
    if (!faults.empty()) {
        console.warning(counted(listed, "name") + " (" + initial.origin + ") for " +
                        counted(names.size(), "class", "classes") + ": " + joined(faults));
    }
}

}  // namespace

InitialNames initialNames(const std::string& namesFile, const NetworkFacts& network, int classNum,
                          Console& console) {
    InitialNames initial;
    if (!namesFile.empty()) {
        initial = {namesOfFile(namesFile), "from a list"};
    } else if (const std::optional<IndexedNames> names = namesOfMetadata(network, console)) {
        initial = {*names, "from the network's metadata"};
    } else {
        return {numbers(classNum), "to be filled in"};
    }
    fitTo(classNum, initial, console);
    return initial;
}

}  // namespace brellix::app
