#include "check/training_check.h"

#include "network/network_anchors.h"

#include <string>

namespace brellix::app {
namespace {

constexpr const char* kChannelsKey = "brellix_channels";

Finding anchorsFinding(const CheckedConfig& checked, Severity severity, const std::string& found) {
    return {severity, "anchors", checked.network.path, found, "", ""};
}

}  // namespace

void judgeAnchors(const CheckedConfig& checked, Findings& findings) {
    if (checked.config.modelClass != ModelClass::kYoloV5Cutoff) {
        return;
    }
    const NetworkAnchors own = anchorsOf(checked.network);
    if (own.anchors == fixedAnchors()) {
        findings.push_back(anchorsFinding(checked, Severity::kOk, "those of yolov5_cutoff"));
        return;
    }
    Finding finding = anchorsFinding(checked, Severity::kWarning, "the file does not tell them");
    finding.expected = textOf(fixedAnchors()) + ", which yolov5_cutoff has fixed";
    finding.fix =
        "boxes come out in wrong sizes where the network was trained with others; a cut by "
        "tools/prepare_network.py records them";
    if (!own.fault.empty()) {
        finding.found = "the metadata \"anchors\" are not " + own.fault;
    } else if (own.anchors) {
        finding.severity = Severity::kError;
        finding.found = textOf(*own.anchors) + ": the network was trained with its own";
        finding.fix =
            "use the network with its detection layer, which holds its own anchors, with \"model: yolov5\" "
            "(tools/prepare_network.py without --cut), or train with these anchors";
    }
    findings.push_back(finding);
}

void judgeChannelOrder(const CheckedConfig& checked, Findings& findings) {
    const std::string fed = traitsOf(checked.config.modelClass).channelOrder;
    const auto said = checked.network.metadata.find(kChannelsKey);
    Finding finding{Severity::kNote,
                    "channels",
                    checked.network.path,
                    "the file does not tell their order",
                    fed + ", which " + nameOf(checked.config.modelClass) + " feeds",
                    ""};
    if (said == checked.network.metadata.end()) {
        finding.fix = "tools/prepare_network.py gives an export the right order";
    } else if (said->second == fed) {
        finding = {Severity::kOk, "channels", checked.network.path, fed, "", ""};
    } else {
        const bool isKnown = said->second == "rgb" || said->second == "bgr";
        finding.severity = isKnown ? Severity::kError : Severity::kWarning;
        finding.found = isKnown ? said->second : "\"" + said->second + "\" in the metadata";
        finding.fix =
            "red and blue would be exchanged: prepare the export for this model again with "
            "tools/prepare_network.py";
    }
    findings.push_back(finding);
}

}  // namespace brellix::app
