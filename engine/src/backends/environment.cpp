#include "backends/environment.h"

#include <charconv>
#include <cstdlib>

#include "refusal.h"

namespace ai_orvo::alg::common {
namespace {

constexpr int kMostThreads = 1024;

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string readBackend() {
    std::string value = variable("BRELLIX_ENGINE_BACKEND");
    if (value.empty()) {
        return "auto";
    }
    if (value != "auto" && value != "onnxruntime" && value != "opencv_dnn") {
        throw Refusal(Status::kBadEnvironment,
                      "environment variable BRELLIX_ENGINE_BACKEND is '" + value +
                          "', expected auto, onnxruntime or opencv_dnn; correct or unset it");
    }
    return value;
}

std::optional<int> readThreads() {
    const std::string value = variable("BRELLIX_ENGINE_THREADS");
    if (value.empty()) {
        return std::nullopt;
    }
    int threads = 0;
    const char* const end = value.data() + value.size();
    const std::from_chars_result result = std::from_chars(value.data(), end, threads);
    if (result.ec != std::errc() || result.ptr != end || threads < 1 || threads > kMostThreads) {
        throw Refusal(Status::kBadEnvironment, "environment variable BRELLIX_ENGINE_THREADS is '" + value +
                                                   "', expected a whole number from 1 to " +
                                                   std::to_string(kMostThreads) + "; correct or unset it");
    }
    return threads;
}

}  // namespace

Environment readEnvironment() {
    Environment environment;
    environment.backend = readBackend();
    environment.threads = readThreads();
    return environment;
}

}  // namespace ai_orvo::alg::common
