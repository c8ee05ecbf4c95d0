#include "check/complete_check.h"

#include "check/engine_trial.h"
#include "check/network_fit.h"
#include "config/class_list.h"
#include "console/text.h"
#include "network/back_end_choice.h"

namespace brellix::app {
namespace {

void judgeNames(const CheckedConfig& checked, const std::string& namesFile, Findings& findings) {
    const ClassList classes(namesFile, checked.config.document);
    const bool isFromFile = !namesFile.empty();
    const std::string mismatch = classes.mismatchWith(checked.config.classNum);
    Finding finding{Severity::kOk,
                    isFromFile ? "names" : "class_mapping",
                    isFromFile ? namesFile : checked.config.path,
                    "",
                    "",
                    ""};
    if (!isFromFile && speakOf(findings, finding.what)) {
        return;
    }
    if (classes.count() == 0) {
        finding.severity = Severity::kNote;
        finding.found = "no names: classes are called by their number";
    } else if (mismatch.empty()) {
        finding.found = counted(classes.count(), "name");
    } else {
        finding.severity = Severity::kWarning;
        finding.found = mismatch;
        finding.expected = "a name for each class";
    }
    findings.push_back(finding);
}

/// What was found out without the engine is said in better words, so it is asked last. Of a network that is
/// compiled for a board only the board's own engine can be asked: ours would refuse what is right there.
void tryEngine(const CheckedConfig& checked, CheckReport& report) {
    const bool isOurs = chosenBackEnd() != BackEnd::kUnknown;
    if (!report.fits() || (isOurs && checked.network.format != NetworkFormat::kOnnx)) {
        return;
    }
    const std::string reason = reasonOfEngine(settingsOf(checked.config), checked.network.path);
    Finding finding{Severity::kOk, "engine", checked.network.path, "loads the network", "", ""};
    if (!reason.empty()) {
        finding.severity = Severity::kError;
        finding.found = "refuses the network: " + reason;
        finding.fix = isOurs ? exportFix(checked, recognise(checked.network))
                             : "name the network that was compiled for this engine in model_path";
    }
    report.findings.push_back(finding);
}

}  // namespace

CheckReport checkCompletely(const ModelRequest& request, const std::string& namesFile) {
    const CheckedConfig checked = checkModelConfig(request);
    CheckReport report = checkNetwork(checked, true);
    judgeNames(checked, namesFile, report.findings);
    tryEngine(checked, report);
    return report;
}

}  // namespace brellix::app
