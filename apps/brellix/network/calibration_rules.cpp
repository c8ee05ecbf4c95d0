#include "network/calibration_rules.h"

#include <algorithm>
#include <set>

namespace brellix::app {
namespace {

using ai_orvo::alg::common::CalibratedTensor;
using ai_orvo::alg::common::ValueRange;

// The logit of a probability of 0.9997: no threshold that anybody sets is cut off at the top of the range,
// even where the pictures hold nothing that is sure.
constexpr float kHighestScoreLogit = 8.0F;

bool holdsScores(ModelClass modelClass, const std::string& tensor) {
    static const std::set<std::string> segmentationScores = {"output1", "output4", "output7"};
    // A head of the cut detector holds boxes, objectness and scores in one tensor.
    return modelClass == ModelClass::kYoloV5Cutoff || segmentationScores.count(tensor) > 0;
}

}  // namespace

bool holdsMaskCoefficients(ModelClass modelClass, const std::string& tensor) {
    static const std::set<std::string> coefficients = {"output2", "output5", "output8"};
    return modelClass == ModelClass::kYoloV8Seg && coefficients.count(tensor) > 0;
}

CalibratedTensor calibratedTensor(ModelClass modelClass, const std::string& tensor, ValueRange measured) {
    CalibratedTensor entry;
    const float leastTop = holdsScores(modelClass, tensor) ? kHighestScoreLogit : 0.0F;
    entry.range = {std::min(measured.minimum, 0.0F), std::max(measured.maximum, leastTop)};
    entry.symmetric = holdsMaskCoefficients(modelClass, tensor);
    return entry;
}

}  // namespace brellix::app
