#include "model_factory.h"

#include "construction_guard.h"
#include "failure.h"
#include "resolved_config.h"

#include <brellix/run_report.h>
#include <brellix/yolov5.h>
#include <brellix/yolov5_cutoff.h>
#include <brellix/yolov8_seg.h>

#include <exception>
#include <string>

namespace brellix::app {
namespace {

using ai_orvo::model::CvModel;

std::unique_ptr<CvModel> constructFrom(const std::string& path, ModelClass modelClass) {
    switch (modelClass) {
        case ModelClass::kYoloV5Cutoff:
            return std::make_unique<ai_orvo::model::YOLOv5Cutoff>(path);
        case ModelClass::kYoloV8Seg:
            return std::make_unique<ai_orvo::model::YOLOv8Seg>(path);
        case ModelClass::kYoloV5:
            break;
    }
    return std::make_unique<ai_orvo::model::YOLOv5>(path);
}

std::unique_ptr<CvModel> construct(const ModelConfig& config) {
    const ResolvedConfig resolved(config);
    const ConstructionGuard guard(config.path);
    try {
        return constructFrom(resolved.path(), config.modelClass);
    } catch (const std::exception& error) {
        throw wrongUse(config.path + ": " + nameOf(config.modelClass) +
                       " cannot be built from it: " + error.what());
    }
}

}  // namespace

std::unique_ptr<CvModel> buildModel(const ModelConfig& config) {
    std::unique_ptr<CvModel> model = construct(config);
    const int status = ai_orvo::model::last_run_report().init_status;
    if (status != 0) {
        throw wrongUse(config.networkPath + ": the engine refused this network for " +
                       nameOf(config.modelClass) + " (code " + std::to_string(status) +
                       "); its reason stands above");
    }
    return model;
}

}  // namespace brellix::app
