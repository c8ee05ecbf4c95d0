// Stands for a board maker's engine in scripts/check-packages: it takes every network and finds nothing on
// any picture.

#include "brellix/ai_engine.h"

#include <cstdio>

namespace ai_orvo::alg::common {

int AIEngine::Init(const AIEngineConfig& config) {
    std::fprintf(stderr, "board engine: %s\n", config.model_path.c_str());
    return 0;
}

// The outputs stay as the models make them: zeros, which no threshold lets through.
int AIEngine::DoInference(TensorMap&, TensorMap&) {
    return 0;
}

}  // namespace ai_orvo::alg::common
