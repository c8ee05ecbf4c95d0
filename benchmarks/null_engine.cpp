// An engine that takes every network and leaves the outputs as they come. Defined in the program, it takes
// the place of the engine library's.

#include "brellix/ai_engine.h"

namespace ai_orvo::alg::common {

int AIEngine::Init(const AIEngineConfig& /*config*/) {
    return 0;
}

int AIEngine::DoInference(TensorMap& /*inputs*/, TensorMap& /*outputs*/) {
    return 0;
}

}  // namespace ai_orvo::alg::common
