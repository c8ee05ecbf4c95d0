#include "console/finding.h"

#include <algorithm>

namespace brellix::app {

const char* nameOf(Severity severity) {
    switch (severity) {
        case Severity::kNote:
            return "note";
        case Severity::kWarning:
            return "warning";
        case Severity::kError:
            return "error";
        case Severity::kOk:
            break;
    }
    return "ok";
}

std::string sentenceOf(const Finding& finding) {
    std::string sentence = finding.where + ": ";
    sentence += finding.isKey ? '"' + finding.what + "\" is " : finding.what + ": ";
    sentence += finding.found;
    if (!finding.expected.empty()) {
        sentence += ", expected " + finding.expected;
    }
    return finding.fix.empty() ? sentence : sentence + "; " + finding.fix;
}

bool holds(const Findings& findings, Severity severity) {
    return std::any_of(findings.begin(), findings.end(),
                       [severity](const Finding& finding) { return finding.severity == severity; });
}

bool speakOf(const Findings& findings, const std::string& what) {
    return std::any_of(findings.begin(), findings.end(),
                       [&what](const Finding& finding) { return finding.what == what; });
}

}  // namespace brellix::app
