#include "network/back_end_choice.h"

#include <backends/environment.h>
#include <refusal.h>

namespace brellix::app {
namespace {

#ifdef BRELLIX_OWN_ENGINE
constexpr bool kEngineIsOurs = true;
#else
constexpr bool kEngineIsOurs = false;
#endif

#ifdef BRELLIX_WITH_ONNXRUNTIME
constexpr bool kHasOnnxRuntime = true;
#else
constexpr bool kHasOnnxRuntime = false;
#endif

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
    if (!kEngineIsOurs) {
        return BackEnd::kUnknown;
    }
    return kHasOnnxRuntime && !isOnnxRuntimeTurnedOff() ? BackEnd::kOnnxRuntime : BackEnd::kOpencvDnn;
}

}  // namespace brellix::app
