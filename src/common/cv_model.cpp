#include "brellix/cv_model.h"

namespace ai_orvo::model {

CvModel::~CvModel() = default;

}  // namespace ai_orvo::model
