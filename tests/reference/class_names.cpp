#include "reference/class_names.h"

namespace brellix::reference {

std::vector<std::string> labelsOf(const std::string& content) {
    std::vector<std::string> labels;
    std::string piece;
    for (const char c : content) {
        if (c == '\n') {
            labels.push_back(piece);
            piece.clear();
        } else {
            piece += c;
        }
    }
    if (!piece.empty()) {
        labels.push_back(piece);
    }
    return labels;
}

}  // namespace brellix::reference
