#pragma once

/// \file
/// One model over a dataset.

#include "config/class_list.h"
#include "config/model_config_check.h"
#include "console/console.h"
#include "evaluation/class_mapping.h"
#include "evaluation/evaluation.h"
#include "evaluation/evaluation_json.h"
#include "evaluation/ground_truth.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

/// What an evaluation works on, all of it checked.
struct EvalJob {
    ModelConfig config;
    ClassList classes;
    GroundTruth truth;
    std::vector<std::string> sources;  ///< paths of the pictures, in the order of the dataset
    ClassMapping mapping;

    const Dataset& dataset() const { return truth.dataset; }
    bool makesMasks() const { return traitsOf(config.modelClass).makesMasks; }
};

/// What the model found.
struct EvalRun {
    Detections detections;  ///< in the order of the dataset's pictures; none on those that failed
    std::size_t failed = 0;
    std::size_t withoutCategory = 0;  ///< detections of classes that the dataset does not have
};

struct EvalResult {
    EvalRun run;
    Evaluation boxes;
    std::optional<Evaluation> masks;  ///< where the model makes them and the dataset has them
    std::vector<CategoryName> names;  ///< of the dataset's categories
};

/// Runs the model over the pictures and measures what it found.
///
/// A picture that cannot be used is reported and counted; its objects are missed. Objects of `job.truth` that
/// depend on their picture's size are placed on the way.
EvalResult runEvaluation(EvalJob& job, Console& console);

}  // namespace brellix::app
