#include "library.h"

namespace ai_orvo::alg::common {
namespace {

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

Ort::Env makeQuietEnvironment() {
    return Ort::Env(ORT_LOGGING_LEVEL_FATAL, "brellix_ai_engine", dropLogLine, nullptr);
}

}  // namespace ai_orvo::alg::common
