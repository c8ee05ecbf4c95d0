#include <mutex>

#include "backends/engine_backend.h"
#include "backends/opencv_dnn/opencv_dnn_backend.h"
#include "refusal.h"
#ifdef BRELLIX_WITH_ONNXRUNTIME
#include "backends/onnxruntime/onnxruntime_backend.h"
#endif
#ifdef BRELLIX_ONNXRUNTIME_SHARES_ONNX
#include "backends/onnxruntime/shared_operator_register.h"
#endif

namespace ai_orvo::alg::common {
namespace {

void tellThreadsHaveNoEffect(int threads) {
    static std::once_flag told;
    std::call_once(told, [threads] {
        sayOnStandardError("BRELLIX_ENGINE_THREADS=" + std::to_string(threads) +
                           " has no effect on the back-end opencv_dnn: OpenCV's thread count belongs to the "
                           "process, set it there with cv::setNumThreads");
    });
}

std::shared_ptr<EngineBackend> makeOpencvDnn(const Environment& environment, const BackendRequest& request) {
    std::shared_ptr<EngineBackend> backend = makeOpencvDnnBackend(request.model, request.network);
    if (environment.threads.has_value()) {
        tellThreadsHaveNoEffect(*environment.threads);
    }
    return backend;
}

#ifdef BRELLIX_WITH_ONNXRUNTIME

/// Null where OpenCV cannot run the network either.
std::shared_ptr<EngineBackend> opencvDnnInstead(const Environment& environment, const BackendRequest& request,
                                                const std::string& reason) {
    std::shared_ptr<EngineBackend> backend;
    try {
        backend = makeOpencvDnn(environment, request);
    } catch (const Refusal&) {
        return nullptr;
    }
    sayOnStandardError(reason + "; the slower back-end opencv_dnn runs it instead");
    return backend;
}

std::shared_ptr<EngineBackend> makeFirstThatRuns(const Environment& environment,
                                                 const BackendRequest& request) {
    try {
        return makeOnnxRuntimeBackend(environment.threads, request);
    } catch (const Refusal& refusal) {
        std::shared_ptr<EngineBackend> backend = opencvDnnInstead(environment, request, refusal.what());
        if (backend == nullptr) {
            throw;
        }
        return backend;
    }
}

#endif

}  // namespace

void prepareBackends() {
#ifdef BRELLIX_ONNXRUNTIME_SHARES_ONNX
    settleSharedOperatorRegister();
#endif
}

std::shared_ptr<EngineBackend> makeBackend(const Environment& environment, const BackendRequest& request) {
    if (environment.backend == "opencv_dnn") {
        return makeOpencvDnn(environment, request);
    }
#ifdef BRELLIX_WITH_ONNXRUNTIME
    return environment.backend == "auto" ? makeFirstThatRuns(environment, request)
                                         : makeOnnxRuntimeBackend(environment.threads, request);
#else
    if (environment.backend == "onnxruntime") {
        throw Refusal(
            Status::kBadEnvironment,
            "environment variable BRELLIX_ENGINE_BACKEND asks for onnxruntime, which this build does "
            "not contain; set it to opencv_dnn or auto, or unset it");
    }
    return makeOpencvDnn(environment, request);
#endif
}

}  // namespace ai_orvo::alg::common
