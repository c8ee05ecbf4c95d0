#include "check/network_check.h"

#include "check/back_end_limits.h"
#include "check/calibration_check.h"
#include "check/network_fit.h"
#include "check/training_check.h"
#include "console/text.h"
#include "network/back_end_choice.h"

#include <refusal.h>
#include <tensors/configuration_check.h>

namespace brellix::app {
namespace {

namespace engine = ai_orvo::alg::common;

Finding ofNetwork(const NetworkFacts& network, Severity severity, const std::string& found) {
    return {severity, "network", network.path, found, "", ""};
}

Finding unreadable(const NetworkFacts& network) {
    if (network.format == NetworkFormat::kDamaged) {
        return ofNetwork(network, Severity::kError, network.reason);
    }
    Finding finding = ofNetwork(network, Severity::kWarning,
                                "no ONNX file, so it cannot be compared with the configuration");
    finding.fix =
        "the engine decides whether it fits: ours takes ONNX files alone, a board's own what was "
        "compiled for the board";
    return finding;
}

/// The engine's own comparison, should it see what was not seen here.
void askEngine(const CheckedConfig& checked, Findings& findings) {
    if (holds(findings, Severity::kError)) {
        return;
    }
    try {
        const engine::EngineNetwork network(checked.network.path, checked.network.description, {});
        engine::checkConfiguration(engineTables(settingsOf(checked.config)), network);
    } catch (const engine::Refusal& refusal) {
        findings.push_back(ofNetwork(checked.network, Severity::kError, refusal.what()));
    }
}

/// \return whether the configuration's input size and class count were held against the network's.
bool judgeOnnx(const CheckedConfig& checked, bool usesCalibration, CheckReport& report) {
    const Recognition recognition = recognise(checked.network);
    Findings& findings = report.findings;
    bool isOfItsKind = false;
    if (checked.modelClassIsKnown) {
        report.tensors = compareTensors(expectedTensors(settingsOf(checked.config)),
                                        checked.network.description, chosenBackEnd());
        isOfItsKind = judgeFit(checked, recognition, report.tensors, findings);
    }
    judgeBackEndLimits(chosenBackEnd(), checked.network, exportFix(checked, recognition), findings);
    if (!checked.modelClassIsKnown) {
        return false;
    }
    askEngine(checked, findings);
    judgeAnchors(checked, findings);
    judgeChannelOrder(checked, findings);
    if (usesCalibration) {
        judgeCalibration(checked, report.tensors, findings);
    }
    return isOfItsKind;
}

/// Says of each key that was compared, and that nothing was said against, that it is right.
void addRightKeys(const CheckedConfig& checked, bool isComparedWithNetwork, Findings& findings) {
    const ModelConfig& config = checked.config;
    const auto addUnlessSpokenOf = [&](const char* key, const std::string& found) {
        if (!speakOf(findings, key)) {
            findings.push_back({Severity::kOk, key, placeOf(config, key), found, "", "", true});
        }
    };
    addUnlessSpokenOf("conf_thres", thresholdText(config.confThreshold));
    addUnlessSpokenOf("nms_thres", thresholdText(config.nmsThreshold));
    if (isComparedWithNetwork) {
        addUnlessSpokenOf("class_num", std::to_string(config.classNum));
        addUnlessSpokenOf("input_size", sizeText(config.inputSize.width, config.inputSize.height));
    }
    if (checked.modelClassIsKnown && traitsOf(config.modelClass).readsBackEndKeys) {
        addUnlessSpokenOf("framework", config.framework);
        addUnlessSpokenOf("is_quantized", config.isQuantized ? "true" : "false");
    }
}

}  // namespace

CheckReport checkNetwork(const CheckedConfig& checked, bool usesCalibration) {
    CheckReport report;
    report.configPath = checked.config.path;
    report.networkPath = checked.config.networkPath;
    report.modelClass = checked.modelClassIsKnown ? nameOf(checked.config.modelClass) : "";
    report.findings = checked.findings;
    bool isComparedWithNetwork = false;
    if (checked.network.format == NetworkFormat::kOnnx) {
        isComparedWithNetwork = judgeOnnx(checked, usesCalibration, report);
    } else {
        report.findings.push_back(unreadable(checked.network));
    }
    addRightKeys(checked, isComparedWithNetwork, report.findings);
    return report;
}

}  // namespace brellix::app
