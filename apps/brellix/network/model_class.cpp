#include "network/model_class.h"

#include <yolov5_cutoff/tensor_tables.h>
#include <yolov8_seg/tensor_tables.h>

#include <algorithm>
#include <iterator>
#include <set>

namespace brellix::app {
namespace {

constexpr ModelTraits yolov5() {
    ModelTraits traits{ModelClass::kYoloV5, "yolov5", "rgb"};
    traits.probabilityIsProduct = true;
    return traits;
}

constexpr ModelTraits yolov5Cutoff() {
    ModelTraits traits{ModelClass::kYoloV5Cutoff, "yolov5_cutoff", "bgr"};
    traits.probabilityIsProduct = true;
    traits.takesCalibration = true;
    return traits;
}

constexpr ModelTraits yolov8Seg() {
    ModelTraits traits{ModelClass::kYoloV8Seg, "yolov8_seg", "bgr"};
    traits.makesMasks = true;
    traits.readsBackEndKeys = true;
    traits.takesCalibration = true;
    return traits;
}

constexpr ModelTraits kModels[] = {yolov5(), yolov5Cutoff(), yolov8Seg()};

/// \return whether the names are these, in any order.
template <class Expected>
bool areExactly(const std::set<std::string>& names, const Expected& expected) {
    return names == std::set<std::string>(std::begin(expected), std::end(expected));
}

}  // namespace

const ModelTraits& traitsOf(ModelClass modelClass) {
    return *std::find_if(std::begin(kModels), std::end(kModels),
                         [&](const ModelTraits& traits) { return traits.modelClass == modelClass; });
}

std::string nameOf(ModelClass modelClass) {
    return traitsOf(modelClass).name;
}

std::vector<ModelClass> modelClasses() {
    std::vector<ModelClass> classes;
    for (const ModelTraits& traits : kModels) {
        classes.push_back(traits.modelClass);
    }
    return classes;
}

std::vector<std::string> modelClassNames() {
    std::vector<std::string> names;
    for (const ModelTraits& traits : kModels) {
        names.emplace_back(traits.name);
    }
    return names;
}

std::optional<ModelClass> modelClassNamed(const std::string& name) {
    const auto found = std::find_if(std::begin(kModels), std::end(kModels),
                                    [&](const ModelTraits& traits) { return traits.name == name; });
    return found == std::end(kModels) ? std::nullopt : std::optional(found->modelClass);
}

std::optional<ModelClass> modelClassWithOutputs(const std::vector<std::string>& outputs) {
    const std::set<std::string> names(outputs.begin(), outputs.end());
    if (outputs.size() == 1) {
        return ModelClass::kYoloV5;
    }
    if (areExactly(names, ai_orvo::model::kCutOutputs)) {
        return ModelClass::kYoloV5Cutoff;
    }
    if (areExactly(names, ai_orvo::model::kSegOutputs)) {
        return ModelClass::kYoloV8Seg;
    }
    return std::nullopt;
}

}  // namespace brellix::app
