#include "evaluation/evaluation_json.h"

#include <cstddef>

namespace brellix::app {
namespace {

using Json = nlohmann::ordered_json;

void addFigures(const Figures& figures, Json& json) {
    for (const NamedFigure& figure : kFigures) {
        const std::optional<double>& value = figures.*figure.member;
        json[figure.name] = value ? Json(*value) : Json(nullptr);
    }
}

Json categoryToJson(const CategoryFigures& category, const Category& entry, const CategoryName& name) {
    Json json = {{"category_id", entry.id},
                 {"label", name.label},
                 {"name", name.name},
                 {"objects", category.truths},
                 {"detections", category.detections}};
    addFigures(category.figures, json);
    json["precision50"] = category.precision50 ? Json(*category.precision50) : Json(nullptr);
    return json;
}

}  // namespace

Json evaluationToJson(const Evaluation& evaluation, const Dataset& dataset,
                      const std::vector<CategoryName>& names) {
    Json json = Json::object();
    addFigures(evaluation.mean, json);
    json["classes"] = Json::array();
    for (std::size_t i = 0; i < evaluation.categories.size(); ++i) {
        json["classes"].push_back(categoryToJson(evaluation.categories[i], dataset.categories[i], names[i]));
    }
    return json;
}

}  // namespace brellix::app
