// An engine that takes every network and leaves the outputs' bytes as they come: as floats they mean nothing
// at all, as int8 a logit of -10. Defined in the program, it takes the place of the engine library's.

#include "brellix/ai_engine.h"

namespace ai_orvo::alg::common {

int AIEngine::Init(const AIEngineConfig& /*config*/) {
    return 0;
}

int AIEngine::DoInference(TensorMap& /*inputs*/, TensorMap& outputs) {
    for (auto& [name, tensor] : outputs) {
        tensor.zp = 100;
        tensor.scale = 0.1F;
    }
    return 0;
}

}  // namespace ai_orvo::alg::common
