#include "detect/class_filter.h"

#include "console/failure.h"
#include "console/text.h"

#include <algorithm>
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

/// \return the labels of that name, else the label of that number; none for any other word.
std::set<int> labelsOf(const std::string& word, const ClassList& classes, int classNum) {
    std::set<int> byName;
    std::set<int> byNumber;
    for (int label = 0; label < classNum; ++label) {
        if (classes.nameOf(label) == word) {
            byName.insert(label);
        }
        if (std::to_string(label) == word) {
            byNumber.insert(label);
        }
    }
    return byName.empty() ? byNumber : byName;
}

std::set<int> requireLabels(const std::string& word, const ClassList& classes, int classNum) {
    std::set<int> labels = labelsOf(word, classes, classNum);
    if (labels.empty()) {
        throw wrongUse("--classes: unknown class \"" + word +
                       "\", expected names or numbers of: " + knownClasses(classes, classNum));
    }
    return labels;
}

}  // namespace

ClassFilter::ClassFilter(const std::vector<std::string>& wanted, const ClassList& classes, int classNum) {
    for (const std::string& list : wanted) {
        for (const std::string& word : wordsOf(list)) {
            labels_.merge(requireLabels(word, classes, classNum));
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
