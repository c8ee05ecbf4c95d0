#include <mutex>

#include "engine_backend.h"
#include "opencv_dnn/opencv_dnn_backend.h"
#include "refusal.h"

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

}  // namespace

std::shared_ptr<EngineBackend> makeBackend(const Environment& environment, const onnx::ModelProto& model,
                                           const EngineNetwork& network) {
    if (environment.backend == "onnxruntime") {
        throw Refusal(
            Status::kBadEnvironment,
            "environment variable BRELLIX_ENGINE_BACKEND asks for onnxruntime, which this build does "
            "not contain; set it to opencv_dnn or auto, or unset it");
    }
    if (environment.threads.has_value()) {
        tellThreadsHaveNoEffect(*environment.threads);
    }
    return makeOpencvDnnBackend(model, network);
}

}  // namespace ai_orvo::alg::common
