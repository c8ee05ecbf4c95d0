#include "config/model_factory.h"

#include "config/construction_guard.h"
#include "config/resolved_config.h"
#include "console/failure.h"

#include <brellix/run_report.h>
#include <brellix/yolov5.h>
#include <brellix/yolov5_cutoff.h>
#include <brellix/yolov8_seg.h>

#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace brellix::app {
namespace {

using ai_orvo::model::CvModel;

/// A model whose outputs somebody else looks at, too.
template <typename Model>
class Tapped : public Model {
  public:
    Tapped(const std::string& path, OutputTap tap) : Model(path), tap_(std::move(tap)) {}

    void postprocess(ai_orvo::model::TensorMap& outputs,
                     std::vector<ai_orvo::model::Object>& objects) override {
        tap_(outputs);
        Model::postprocess(outputs, objects);
    }

  private:
    OutputTap tap_;
};

template <typename Model>
std::unique_ptr<CvModel> constructModel(const std::string& path, const OutputTap& tap) {
    if (tap) {
        return std::make_unique<Tapped<Model>>(path, tap);
    }
    return std::make_unique<Model>(path);
}

std::unique_ptr<CvModel> constructFrom(const std::string& path, ModelClass modelClass, const OutputTap& tap) {
    switch (modelClass) {
        case ModelClass::kYoloV5Cutoff:
            return constructModel<ai_orvo::model::YOLOv5Cutoff>(path, tap);
        case ModelClass::kYoloV8Seg:
            return constructModel<ai_orvo::model::YOLOv8Seg>(path, tap);
        case ModelClass::kYoloV5:
            break;
    }
    return constructModel<ai_orvo::model::YOLOv5>(path, tap);
}

std::unique_ptr<CvModel> construct(const ModelConfig& config, const OutputTap& tap) {
    const ResolvedConfig resolved(config);
    const ConstructionGuard guard(config.path);
    try {
        return constructFrom(resolved.path(), config.modelClass, tap);
    } catch (const std::exception& error) {
        throw wrongUse(config.path + ": " + nameOf(config.modelClass) +
                       " cannot be built from it: " + error.what());
    }
}

}  // namespace

std::unique_ptr<CvModel> buildModel(const ModelConfig& config, const OutputTap& tap) {
    std::unique_ptr<CvModel> model = construct(config, tap);
    const int status = ai_orvo::model::last_run_report().init_status;
    if (status != 0) {
        throw wrongUse(config.networkPath + ": the engine refused this network for " +
                       nameOf(config.modelClass) + " (code " + std::to_string(status) +
                       "); its reason stands above");
    }
    return model;
}

}  // namespace brellix::app
