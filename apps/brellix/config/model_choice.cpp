#include "config/model_choice.h"

#include "console/failure.h"
#include "console/text.h"
#include "network/network_recognition.h"
#include "network/prepare_hint.h"

#include <vector>

namespace brellix::app {
namespace {

constexpr const char* kSayIt = "say it with the key \"model\" or with --model, one of: ";

ModelClass findModelClass(const std::string& name, const std::string& origin) {
    const std::optional<ModelClass> found = modelClassNamed(name);
    if (!found) {
        throw wrongUse(origin + ": unknown model class \"" + name +
                       "\", expected one of: " + joined(modelClassNames()));
    }
    return *found;
}

std::vector<std::string> outputNames(const NetworkFacts& network) {
    std::vector<std::string> names;
    for (const ai_orvo::alg::common::TensorDescription& output : network.description.outputs) {
        names.push_back(output.name);
    }
    return names;
}

/// What to do with a network whose outputs belong to no class.
std::string fixFor(const NetworkFacts& network) {
    const std::string sayIt = kSayIt + joined(modelClassNames());
    const Recognition recognition = recognise(network);
    const std::string what = std::string("this is ") + describe(recognition.kind) + ": ";
    const std::string command =
        "prepare it with " + prepareCommand(network.path, PreparedForm::kAsFound, openInputSize(network));
    switch (recognition.kind) {
        case NetworkKind::kUnknown:
            return "export a network that one of them decodes, or " + sayIt;
        case NetworkKind::kSegmentationExport:
            return what + command;
        case NetworkKind::kFused:
            return what + command + ", or " + sayIt;
        case NetworkKind::kFusedTransposed:
        case NetworkKind::kCut:
        case NetworkKind::kSegmentation:
        case NetworkKind::kFusedWithMasks:
        case NetworkKind::kBoxesWithoutObjectness:
            break;
    }
    return what + sayIt;
}

Finding cannotGuess(const std::string& configPath, const NetworkFacts& network) {
    const std::vector<std::string> outputs = outputNames(network);
    return {Severity::kError,
            "model",
            configPath,
            "missing, and the model class cannot be guessed: no class has the " +
                counted(outputs.size(), "output") + " of " + network.path + ": " + joined(outputs),
            "a network that a class decodes, or the name of the class",
            fixFor(network),
            true};
}

void requireReadable(const NetworkFacts& network) {
    if (network.format != NetworkFormat::kOnnx) {
        const bool isForeign = network.format == NetworkFormat::kForeign;
        throw wrongUse(network.path + ": the model class cannot be guessed: " +
                       (isForeign ? "this is no ONNX file; " : network.reason + "; or ") + kSayIt +
                       joined(modelClassNames()));
    }
}

std::optional<ModelClass> guessModelClass(const std::string& configPath, const NetworkFacts& network,
                                          Findings& findings) {
    requireReadable(network);
    const std::optional<ModelClass> guess = modelClassWithOutputs(outputNames(network));
    if (!guess) {
        findings.push_back(cannotGuess(configPath, network));
    }
    return guess;
}

}  // namespace

std::optional<ModelClass> chooseModelClass(const ModelChoice& choice, const std::string& configPath,
                                           const NetworkFacts& network, Findings& findings) {
    if (!choice.inConfig.empty()) {
        return findModelClass(choice.inConfig, configPath);
    }
    return choice.inArguments.empty() ? guessModelClass(configPath, network, findings)
                                      : findModelClass(choice.inArguments, "--model");
}

}  // namespace brellix::app
