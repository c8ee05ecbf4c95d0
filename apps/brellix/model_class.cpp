#include "model_class.h"

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

const std::set<std::string>& cutoffOutputs() {
    static const std::set<std::string> names = {"/model.24/m.0/Conv_output_0", "/model.24/m.1/Conv_output_0",
                                                "/model.24/m.2/Conv_output_0"};
    return names;
}

const std::set<std::string>& segmentationOutputs() {
    static const std::set<std::string> names = {"output0", "output1", "output2", "output3", "output4",
                                                "output5", "output6", "output7", "output8", "proto"};
    return names;
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
    if (names == cutoffOutputs()) {
        return ModelClass::kYoloV5Cutoff;
    }
    if (names == segmentationOutputs()) {
        return ModelClass::kYoloV8Seg;
    }
    return std::nullopt;
}

}  // namespace brellix::app
