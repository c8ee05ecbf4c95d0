#pragma once

/// \file
/// Figures for machines, described in docs/command-line.md.

#include "evaluation/dataset.h"
#include "evaluation/evaluation.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace brellix::app {

/// What a category is called, and the label of its class; -1 where the network has none.
struct CategoryName {
    std::string name;
    int label;
};

/// \param names of the categories, in the order of the dataset's.
nlohmann::ordered_json evaluationToJson(const Evaluation& evaluation, const Dataset& dataset,
                                        const std::vector<CategoryName>& names);

}  // namespace brellix::app
