#include "annotated_names.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <set>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

bool canKeepExtension(std::string extension) {
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ".png" || extension == ".jpg" || extension == ".jpeg";
}

std::string wantedName(const fs::path& source) {
    const fs::path name = source.filename();
    return canKeepExtension(name.extension().string()) ? name.string() : name.stem().string() + ".png";
}

/// \return "name-2.png" or the first such name with a higher number that is still free.
std::string freeNumberedName(const fs::path& wanted, const std::set<std::string>& taken) {
    for (std::size_t number = 2;; ++number) {
        std::string name =
            wanted.stem().string() + '-' + std::to_string(number) + wanted.extension().string();
        if (taken.count(name) == 0) {
            return name;
        }
    }
}

}  // namespace

std::vector<std::string> annotatedNames(const std::vector<std::string>& sources) {
    std::vector<std::string> names;
    std::transform(sources.begin(), sources.end(), std::back_inserter(names), wantedName);
    // A later "name-2.png" keeps its name although an earlier second "name.png" could have had it.
    std::set<std::string> taken(names.begin(), names.end());
    std::set<std::string> given;
    for (std::string& name : names) {
        if (!given.insert(name).second) {
            name = freeNumberedName(name, taken);
            taken.insert(name);
        }
    }
    return names;
}

}  // namespace brellix::app
