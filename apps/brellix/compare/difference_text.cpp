#include "compare/difference_text.h"

#include "console/text.h"

#include <algorithm>

namespace brellix::app {
namespace {

using ai_orvo::model::Object;

std::string percent(float probability) {
    return fixed(static_cast<double>(probability) * 100.0, 1) + " %";
}

std::string changeText(const Object& a, const Object& b, const ClassList& classes) {
    return "of another class: " + classes.nameOf(a.label) + ", " + percent(a.prob) + " in A, " +
           classes.nameOf(b.label) + ", " + percent(b.prob) + " in B";
}

/// Adds a line for each loss that is, or is not, near the threshold.
void describeLosses(const char* side, const std::vector<Loss>& losses, const std::vector<Object>& objects,
                    bool nearThreshold, const ClassList& classes, std::vector<std::string>& lines) {
    for (const Loss& loss : losses) {
        if (loss.isNearThreshold == nearThreshold) {
            const Object& object = objects[loss.object];
            lines.push_back(std::string("only in ") + side + ": " + classes.nameOf(object.label) + ", " +
                            percent(object.prob) + (nearThreshold ? ", near the threshold" : ""));
        }
    }
}

void describeAgreements(const PictureComparison& comparison, const ClassList& classes,
                        std::vector<std::string>& lines) {
    const LeastAgreement least = leastAgreement(comparison);
    const auto nameOf = [&](const Agreement* agreement) {
        return classes.nameOf(comparison.a[agreement->pair.a].label);
    };
    if (least.drift != nullptr) {
        const ObjectPair& pair = least.drift->pair;
        lines.push_back("largest drift: " + nameOf(least.drift) + ", " + percent(comparison.a[pair.a].prob) +
                        " in A, " + percent(comparison.b[pair.b].prob) + " in B");
        lines.push_back("smallest box IoU: " + nameOf(least.box) + ", " + fixed(least.box->pair.overlap, 3));
    }
    if (least.mask != nullptr) {
        lines.push_back("smallest mask IoU: " + nameOf(least.mask) + ", " +
                        fixed(*least.mask->maskOverlap, 3));
    }
}

}  // namespace

LeastAgreement leastAgreement(const PictureComparison& comparison) {
    LeastAgreement least;
    for (const Agreement& agreement : comparison.agreements) {
        if (least.drift == nullptr || agreement.drift > least.drift->drift) {
            least.drift = &agreement;
        }
        if (least.box == nullptr || agreement.pair.overlap < least.box->pair.overlap) {
            least.box = &agreement;
        }
        if (agreement.maskOverlap &&
            (least.mask == nullptr || *agreement.maskOverlap < *least.mask->maskOverlap)) {
            least.mask = &agreement;
        }
    }
    return least;
}

std::vector<std::string> describeDifferences(const PictureComparison& comparison, const ClassList& classes) {
    std::vector<std::string> lines;
    for (const ObjectPair& pair : comparison.classChanged) {
        lines.push_back(changeText(comparison.a[pair.a], comparison.b[pair.b], classes));
    }
    for (const bool nearThreshold : {false, true}) {
        describeLosses("A", comparison.missed, comparison.a, nearThreshold, classes, lines);
        describeLosses("B", comparison.extra, comparison.b, nearThreshold, classes, lines);
    }
    describeAgreements(comparison, classes, lines);
    return lines;
}

}  // namespace brellix::app
