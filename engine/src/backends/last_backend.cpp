#include "backends/last_backend.h"

#include <atomic>

namespace ai_orvo::alg::common {
namespace {

std::atomic<const char*> lastBackend{""};

}  // namespace

void noteBackend(const char* name) noexcept {
    lastBackend.store(name);
}

const char* lastBackendName() noexcept {
    return lastBackend.load();
}

}  // namespace ai_orvo::alg::common

const char* brellix_ai_engine_last_backend() noexcept {
    return ai_orvo::alg::common::lastBackendName();
}
