#include "config/class_list.h"

#include "console/failure.h"
#include "console/text.h"
#include "files/text_lines.h"

#include <brellix/class_names.h>

#include <algorithm>

namespace brellix::app {
namespace {

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
        ai_orvo::model::read_class_name(document, names_);
        return;
    }
    origin_ = namesFile;
    names_ = readNames(namesFile);
}

std::string ClassList::nameOf(int label) const {
    const bool isListed = label >= 0 && static_cast<std::size_t>(label) < names_.size();
    return isListed ? names_[static_cast<std::size_t>(label)] : std::to_string(label);
}

std::string ClassList::mismatchWith(int classNum) const {
    if (names_.empty() || names_.size() == static_cast<std::size_t>(classNum)) {
        return {};
    }
    const std::string consequence = names_.size() < static_cast<std::size_t>(classNum)
                                        ? "classes without a name are called by their number"
                                        : "the names past the last class are not used";
    return origin_ + " holds " + counted(names_.size(), "name") + " and class_num is " +
           std::to_string(classNum) + ": " + consequence;
}

std::size_t ClassList::longestName(std::size_t minimum, std::size_t maximum) const {
    std::size_t longest = minimum;
    for (const std::string& name : names_) {
        longest = std::max(longest, displayWidth(name));
    }
    return std::min(longest, maximum);
}

}  // namespace brellix::app
