#include "network/network_facts.h"

#include <graph/network_file.h>
#include <refusal.h>

#include <filesystem>

namespace brellix::app {
namespace {

namespace engine = ai_orvo::alg::common;
namespace fs = std::filesystem;

NetworkFormat formatOfUnreadable(const std::string& path) {
    std::error_code ignored;
    const bool isMeantAsOnnx = fs::path(path).extension() == ".onnx" || fs::file_size(path, ignored) == 0;
    return isMeantAsOnnx ? NetworkFormat::kDamaged : NetworkFormat::kForeign;
}

}  // namespace

NetworkFacts readNetworkFacts(const std::string& path) {
    NetworkFacts facts;
    facts.path = path;
    try {
        facts.model = engine::readNetworkFile(path);
        facts.description = engine::describeNetwork(facts.model, path);
    } catch (const engine::Refusal& refusal) {
        facts.format = formatOfUnreadable(path);
        facts.reason = refusal.what();
        return facts;
    }
    for (const onnx::StringStringEntryProto& entry : facts.model.metadata_props()) {
        facts.metadata[entry.key()] = entry.value();
    }
    return facts;
}

}  // namespace brellix::app
