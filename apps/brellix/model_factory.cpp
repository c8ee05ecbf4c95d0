#include "model_factory.h"

#include "construction_guard.h"
#include "failure.h"
#include "resolved_config.h"

#include <brellix/run_report.h>
#include <brellix/yolov5.h>

#include <algorithm>
#include <array>
#include <exception>

namespace brellix::app {
namespace {

using ai_orvo::model::CvModel;

struct ModelClass {
    const char* name;
    std::unique_ptr<CvModel> (*build)(const std::string& configPath);
};

template <typename Model>
std::unique_ptr<CvModel> build(const std::string& configPath) {
    return std::make_unique<Model>(configPath);
}

constexpr std::array<ModelClass, 1> kModelClasses = {{
    {"yolov5", &build<ai_orvo::model::YOLOv5>},
}};

const ModelClass& guessModelClass() {
    return kModelClasses.front();
}

std::string joinedNames() {
    std::string joined;
    for (const ModelClass& modelClass : kModelClasses) {
        joined += (joined.empty() ? "" : ", ") + std::string(modelClass.name);
    }
    return joined;
}

const ModelClass& findModelClass(const std::string& name, const std::string& origin) {
    const auto found = std::find_if(kModelClasses.begin(), kModelClasses.end(),
                                    [&](const ModelClass& modelClass) { return modelClass.name == name; });
    if (found == kModelClasses.end()) {
        throw wrongUse(origin + ": unknown model class \"" + name + "\", expected one of: " + joinedNames());
    }
    return *found;
}

const ModelClass& chooseModelClass(const ModelConfig& config, const std::string& requestedClass) {
    if (!config.model.empty()) {
        return findModelClass(config.model, config.path);
    }
    return requestedClass.empty() ? guessModelClass() : findModelClass(requestedClass, "--model");
}

std::unique_ptr<CvModel> construct(const ModelClass& modelClass, const ModelConfig& config) {
    const ResolvedConfig resolved(config);
    const ConstructionGuard guard(config.path);
    try {
        return modelClass.build(resolved.path());
    } catch (const std::exception& error) {
        throw wrongUse(config.path + ": " + modelClass.name + " cannot be built from it: " + error.what());
    }
}

}  // namespace

std::vector<std::string> modelClassNames() {
    std::vector<std::string> names;
    for (const ModelClass& modelClass : kModelClasses) {
        names.emplace_back(modelClass.name);
    }
    return names;
}

std::unique_ptr<CvModel> buildModel(const ModelConfig& config, const std::string& requestedClass) {
    const ModelClass& modelClass = chooseModelClass(config, requestedClass);
    std::unique_ptr<CvModel> model = construct(modelClass, config);
    const int status = ai_orvo::model::last_run_report().init_status;
    if (status != 0) {
        throw wrongUse(config.networkPath + ": the engine refused this network for " + modelClass.name +
                       " (code " + std::to_string(status) + "); its reason stands above");
    }
    return model;
}

}  // namespace brellix::app
