#include "endurance/cases.h"

#include "pipeline/shapes_models.h"

namespace brellix::testing {

std::vector<EnduranceCase> enduranceCases() {
    const std::vector<cv::Mat> pictures = shapesPictures(10);
    std::vector<EnduranceCase> cases;
    for (const ShapesModel& model : shapesModels()) {
        cases.push_back({model.name, model.make, pictures});
    }
    return cases;
}

}  // namespace brellix::testing
