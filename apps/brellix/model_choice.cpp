#include "model_choice.h"

#include "failure.h"
#include "text.h"

#include <network_description.h>
#include <network_file.h>
#include <refusal.h>

#include <vector>

namespace brellix::app {
namespace {

namespace engine = ai_orvo::alg::common;

constexpr const char* kSayIt = "say it with the key \"model\" or with --model, one of: ";

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

ModelClass findModelClass(const std::string& name, const std::string& origin) {
    const std::optional<ModelClass> found = modelClassNamed(name);
    if (!found) {
        throw wrongUse(origin + ": unknown model class \"" + name +
                       "\", expected one of: " + joined(modelClassNames()));
    }
    return *found;
}

std::vector<std::string> outputNames(const std::string& networkPath) {
    try {
        onnx::ModelProto model = engine::readNetworkFile(networkPath);
        std::vector<std::string> names;
        for (const engine::TensorDescription& output : engine::describeNetwork(model, networkPath).outputs) {
            names.push_back(output.name);
        }
        return names;
    } catch (const engine::Refusal& refusal) {
        throw wrongUse(networkPath + ": the model class cannot be guessed: " + refusal.what() + "; or " +
                       kSayIt + joined(modelClassNames()));
    }
}

ModelClass guessModelClass(const std::string& networkPath) {
    const std::vector<std::string> outputs = outputNames(networkPath);
    const std::optional<ModelClass> guess = modelClassWithOutputs(outputs);
    if (!guess) {
        throw wrongUse(networkPath + ": the model class cannot be guessed: no class has these " +
                       counted(outputs.size(), "output") + ": " + joined(outputs) + "; " + kSayIt +
                       joined(modelClassNames()));
    }
    return *guess;
}

}  // namespace

ModelClass chooseModelClass(const ModelChoice& choice, const std::string& configPath,
                            const std::string& networkPath) {
    if (!choice.inConfig.empty()) {
        return findModelClass(choice.inConfig, configPath);
    }
    return choice.inArguments.empty() ? guessModelClass(networkPath)
                                      : findModelClass(choice.inArguments, "--model");
}

}  // namespace brellix::app
