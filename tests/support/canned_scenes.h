#pragma once

/// \file
/// Models of every kind over small scenes that the canned engine knows: three classes, dozens of candidates.

#include "brellix/cv_model.h"

#include <memory>
#include <string>
#include <vector>

namespace brellix::testing {

/// The outputs of a scene, the same in every run. \return nothing for a name that is none.
ai_orvo::model::TensorMap cannedOutputs(const std::string& scene);

/// One kind of model; "fused", "cut", "segmentation" or "segmentation, int8".
struct CannedModel {
    const char* name;
    std::unique_ptr<ai_orvo::model::CvModel> (*make)();
};

const std::vector<CannedModel>& cannedModels();

/// A kind's name as the name of a test may be.
std::string identifierOf(const CannedModel& model);

constexpr int kCannedClasses = 3;

}  // namespace brellix::testing
