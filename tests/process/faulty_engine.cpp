// A board's engine that breaks in the middle, in place of ours: frame by frame it does what the environment
// variable BRELLIX_TEST_FAULTS says, one letter a frame, and works well from its end on. With
// BRELLIX_TEST_REFUSAL it refuses every network.

#include "brellix/ai_engine.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace ai_orvo::alg::common {
namespace {

/// Writes one sure object, if the output is a fused one of three classes.
void answer(TensorMap& outputs) {
    const float row[] = {32.0F, 24.0F, 20.0F, 10.0F, 0.75F, 0.5F, 0.0F, 0.0F};
    for (auto& [name, tensor] : outputs) {
        if (tensor.data->size() >= sizeof(row)) {
            std::memcpy(tensor.data->data(), row, sizeof(row));
        }
    }
}

int doAsTold(char fault, TensorMap& outputs) {
    answer(outputs);
    switch (fault) {
        case 'f':
            return 9;
        case 't':
            throw std::runtime_error("the accelerator has been reset");
        case 'n':
            outputs.begin()->second.data = nullptr;
            return 0;
        case 'd':
            outputs.clear();
            return 0;
        default:
            return 0;
    }
}

}  // namespace

int AIEngine::Init(const AIEngineConfig&) {
    return std::getenv("BRELLIX_TEST_REFUSAL") == nullptr ? 0 : 2;
}

int AIEngine::DoInference(TensorMap&, TensorMap& outputs) {
    static std::size_t frame = 0;
    const char* const told = std::getenv("BRELLIX_TEST_FAULTS");
    const std::string faults = told == nullptr ? "" : told;
    return doAsTold(frame < faults.size() ? faults[frame++] : '.', outputs);
}

}  // namespace ai_orvo::alg::common
