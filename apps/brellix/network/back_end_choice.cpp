#include "network/back_end_choice.h"

#include <backends/environment.h>
#include <refusal.h>

// Exported by our own engine; a board's own has no such function.
extern "C" __attribute__((weak)) const char* brellix_ai_engine_last_backend() noexcept;

namespace brellix::app {
namespace {

#ifdef BRELLIX_OWN_ENGINE
constexpr bool kBuiltWithOurs = true;
#else
constexpr bool kBuiltWithOurs = false;
#endif

#ifdef BRELLIX_WITH_ONNXRUNTIME
constexpr bool kHasOnnxRuntime = true;
#else
constexpr bool kHasOnnxRuntime = false;
#endif

/// The build alone does not tell: the loader may have found a board's own engine under the name of ours.
bool isOurEngineLoaded() {
    return brellix_ai_engine_last_backend != nullptr;
}

/// A value that means nothing is refused by the engine itself.
bool isOnnxRuntimeTurnedOff() {
    try {
        return ai_orvo::alg::common::readEnvironment().backend == "opencv_dnn";
    } catch (const ai_orvo::alg::common::Refusal&) {
        return false;
    }
}

}  // namespace

BackEnd chosenBackEnd() {
    // Which back-ends an engine from another build has is not known, even if it is one of ours.
    if (!kBuiltWithOurs || !isOurEngineLoaded()) {
        return BackEnd::kUnknown;
    }
    return kHasOnnxRuntime && !isOnnxRuntimeTurnedOff() ? BackEnd::kOnnxRuntime : BackEnd::kOpencvDnn;
}

std::string lastBackEndName() {
    return isOurEngineLoaded() ? brellix_ai_engine_last_backend() : "unknown";
}

}  // namespace brellix::app
