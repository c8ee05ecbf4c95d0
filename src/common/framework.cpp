#include "common/framework.h"

#include "brellix/ai_engine.h"

#include <cstdlib>
#include <iostream>

namespace ai_orvo::model {

int frameworkCode(const std::string& framework, bool takesOnnx) {
    if (framework == "TensorRT") {
        return alg::common::kFrameworkTensorRt;
    }
    if (framework == "RKNN") {
        return alg::common::kFrameworkRknn;
    }
    if (framework == "ONNX" && takesOnnx) {
        return alg::common::kFrameworkOnnx;
    }
    std::cout << "Framework " + framework + " not implemented\n" << std::flush;
    std::exit(EXIT_SUCCESS);
}

}  // namespace ai_orvo::model
