#include "config/class_list.h"

#include "console/failure.h"
#include "console/text.h"
#include "files/text_lines.h"

#include <brellix/class_names.h>

#include <algorithm>

namespace brellix::app {
namespace {

// What the library's reader calls a class that has no name among others that have one.
constexpr const char* kFiller = "NO_TYPE";

/// Empty lines and gaps at the end name no class that there is.
void dropEmptyEnd(std::vector<std::string>& names) {
    while (!names.empty() && names.back().empty()) {
        names.pop_back();
    }
}

std::vector<std::string> namesIn(const YAML::Node& document) {
    std::vector<std::string> names;
    ai_orvo::model::read_class_name(document, names);
    std::replace(names.begin(), names.end(), std::string(kFiller), std::string());
    return names;
}

/// The library's reader takes a missing file for an empty one, and a byte order mark for a part of a name.
std::vector<std::string> readNames(const std::string& path) {
    std::vector<std::string> names = readTextLines(path, "class names");
    if (names.empty()) {
        throw wrongUse("class names " + path + ": nothing in it");
    }
    return names;
}

}  // namespace

ClassList::ClassList(const std::string& namesFile, const YAML::Node& document) {
    if (namesFile.empty()) {
        origin_ = "class_mapping";
        names_ = namesIn(document);
    } else {
        origin_ = namesFile;
        names_ = readNames(namesFile);
    }
    dropEmptyEnd(names_);
}

std::string ClassList::nameOf(int label) const {
    const auto index = static_cast<std::size_t>(label);
    const bool isNamed = label >= 0 && index < names_.size() && !names_[index].empty();
    return isNamed ? names_[index] : std::to_string(label);
}

std::size_t ClassList::count() const {
    return names_.size() - static_cast<std::size_t>(std::count(names_.begin(), names_.end(), ""));
}

std::string ClassList::mismatchWith(int classNum) const {
    const auto classes = static_cast<std::size_t>(classNum);
    if (names_.empty() || (names_.size() == classes && count() == classes)) {
        return {};
    }
    const bool isPastTheLast = names_.size() > classes;
    const std::string consequence = isPastTheLast ? "the names past the last class are not used"
                                                  : "classes without a name are called by their number";
    return origin_ + " holds " + counted(count(), "name") + " and class_num is " + std::to_string(classNum) +
           ": " + consequence;
}

std::size_t ClassList::longestName(std::size_t minimum, std::size_t maximum) const {
    std::size_t longest = minimum;
    for (const std::string& name : names_) {
        longest = std::max(longest, displayWidth(name));
    }
    return std::min(longest, maximum);
}

}  // namespace brellix::app
