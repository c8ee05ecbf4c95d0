#include "detect/class_filter.h"

#include "console/failure.h"
#include "console/text.h"

#include <algorithm>
#include <optional>
#include <sstream>

namespace brellix::app {
namespace {

using ai_orvo::model::Object;

std::string knownClasses(const ClassList& classes, int classNum) {
    std::vector<std::string> known;
    for (int label = 0; label < classNum; ++label) {
        const std::string number = std::to_string(label);
        const std::string name = classes.nameOf(label);
        known.push_back(name == number ? number : number + ' ' + name);
    }
    return joined(known);
}

/// \return the words between the commas of `list`, of which there is at least one.
std::vector<std::string> wordsOf(const std::string& list) {
    std::vector<std::string> words;
    std::istringstream stream(list);
    for (std::string word; std::getline(stream, word, ',');) {
        if (!word.empty()) {
            words.push_back(word);
        }
    }
    if (words.empty()) {
        throw wrongUse("--classes: \"" + list + "\" names no class");
    }
    return words;
}

std::optional<int> labelOf(const std::string& word, const ClassList& classes, int classNum) {
    std::optional<int> byNumber;
    for (int label = 0; label < classNum; ++label) {
        if (classes.nameOf(label) == word) {
            return label;
        }
        if (std::to_string(label) == word) {
            byNumber = label;
        }
    }
    return byNumber;
}

int requireLabel(const std::string& word, const ClassList& classes, int classNum) {
    const std::optional<int> label = labelOf(word, classes, classNum);
    if (!label) {
        throw wrongUse("--classes: unknown class \"" + word +
                       "\", expected names or numbers of: " + knownClasses(classes, classNum));
    }
    return *label;
}

}  // namespace

ClassFilter::ClassFilter(const std::vector<std::string>& wanted, const ClassList& classes, int classNum) {
    for (const std::string& list : wanted) {
        for (const std::string& word : wordsOf(list)) {
            labels_.insert(requireLabel(word, classes, classNum));
        }
    }
}

void ClassFilter::apply(std::vector<Object>& objects) const {
    if (labels_.empty()) {
        return;
    }
    objects.erase(std::remove_if(objects.begin(), objects.end(),
                                 [&](const Object& object) { return labels_.count(object.label) == 0; }),
                  objects.end());
}

}  // namespace brellix::app
