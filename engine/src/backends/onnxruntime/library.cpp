#include "backends/onnxruntime/library.h"

#include <atomic>
#include <cstdlib>

namespace ai_orvo::alg::common {
namespace {

/// ONNX Runtime 1.30 reports on its use: with the first environment it gives the device a number, writes each
/// event, the program's path among them, to the user's cache folder, and starts a thread that sends them off
/// and reads freed memory while the process ends. Nobody who runs a detector has asked for that, and this
/// variable is the only way not to let it begin. It is set while we are loaded, since no other thread looks
/// at the environment then (unless a program with threads opens us by dlopen). What the user has set stays.
[[maybe_unused]] const int kReportingOff = ::setenv("ORT_DISABLE_TELEMETRY", "1", 0);

std::atomic<bool> isGone{false};

void ORT_API_CALL dropLogLine(void*, OrtLoggingLevel, const char*, const char*, const char*, const char*) {}

}  // namespace

bool loadOnnxRuntime() {
    static const bool loaded = [] {
        const OrtApi* const api = OrtGetApiBase()->GetApi(ORT_API_VERSION);
        Ort::InitApi(api);
        return api != nullptr;
    }();
    return loaded;
}

void watchForEndOfOnnxRuntime() {
    // Destroyed before everything that was there when it was made.
    struct Watch {
        ~Watch() { isGone = true; }
    };
    static const Watch watch;
}

bool isOnnxRuntimeGone() {
    return isGone;
}

Ort::Env makeQuietEnvironment() {
    return Ort::Env(ORT_LOGGING_LEVEL_FATAL, "brellix_ai_engine", dropLogLine, nullptr);
}

}  // namespace ai_orvo::alg::common
