#include "network/model_class.h"

#include <yolov5_cutoff/tensor_tables.h>
#include <yolov8_seg/tensor_tables.h>

#include <algorithm>
#include <array>
#include <set>

namespace brellix::app {
namespace {

struct NamedClass {
    ModelClass modelClass;
    const char* name;
};

constexpr std::array<NamedClass, 3> kModelClasses = {{{ModelClass::kYoloV5, "yolov5"},
                                                      {ModelClass::kYoloV5Cutoff, "yolov5_cutoff"},
                                                      {ModelClass::kYoloV8Seg, "yolov8_seg"}}};

/// \return whether the names are these, in any order.
template <class Expected>
bool areExactly(const std::set<std::string>& names, const Expected& expected) {
    return names == std::set<std::string>(std::begin(expected), std::end(expected));
}

}  // namespace

std::string nameOf(ModelClass modelClass) {
    const auto found =
        std::find_if(kModelClasses.begin(), kModelClasses.end(),
                     [&](const NamedClass& candidate) { return candidate.modelClass == modelClass; });
    return found->name;
}

std::vector<std::string> modelClassNames() {
    std::vector<std::string> names;
    for (const NamedClass& candidate : kModelClasses) {
        names.emplace_back(candidate.name);
    }
    return names;
}

std::optional<ModelClass> modelClassNamed(const std::string& name) {
    const auto found = std::find_if(kModelClasses.begin(), kModelClasses.end(),
                                    [&](const NamedClass& candidate) { return candidate.name == name; });
    return found == kModelClasses.end() ? std::nullopt : std::optional(found->modelClass);
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
