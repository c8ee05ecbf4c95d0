#pragma once

/// \file
/// One thing that a check has found out, as data.

#include <string>
#include <vector>

namespace brellix::app {

enum class Severity {
    kOk,       ///< compared, and fits
    kNote,     ///< could not be compared, or worth knowing; nothing speaks against it
    kWarning,  ///< works, but hardly as meant
    kError,    ///< does not fit
};

/// \return "ok", "note", "warning", "error".
const char* nameOf(Severity severity);

struct Finding {
    Severity severity = Severity::kOk;
    std::string what;   ///< the key of the configuration, or what of the network was looked at
    std::string where;  ///< a file, with its line where one is to be changed, or "the command line"
    std::string found;
    std::string expected;  ///< empty where nothing else was expected
    std::string fix;       ///< what to write or to run; empty where nothing has to be done
    bool isKey = false;    ///< `what` is a key of the configuration
};

using Findings = std::vector<Finding>;

/// \return the finding as one line: where, what, found, expected, fix.
std::string sentenceOf(const Finding& finding);

bool holds(const Findings& findings, Severity severity);

/// \return whether one of the findings is about `what`.
bool speakOf(const Findings& findings, const std::string& what);

}  // namespace brellix::app
