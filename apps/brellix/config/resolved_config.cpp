#include "config/resolved_config.h"

#include "console/failure.h"
#include "files/sink.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace brellix::app {
namespace {

std::string withNetworkPath(const ModelConfig& config) {
    YAML::Node copy = YAML::Clone(config.document);
    copy["model_path"] = config.networkPath;
    return YAML::Dump(copy);
}

/// A pipe gave what it had when the configuration was checked.
bool canBeReadAgain(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored);
}

/// \return a file of `text` that has no name in the file system.
int createMemoryFile(const std::string& text) {
    const int descriptor = memfd_create("brellix-configuration", MFD_CLOEXEC);
    if (descriptor < 0) {
        throw failedAtWork(std::string("cannot keep a copy of the configuration in memory: ") +
                           std::strerror(errno));
    }
    Sink(dup(descriptor), "the copy of the configuration in memory").write(text);
    return descriptor;
}

}  // namespace

ResolvedConfig::ResolvedConfig(const ModelConfig& config) : path_(config.path) {
    if (config.isOverridden || !canBeReadAgain(config.path) ||
        config.networkPath != config.document["model_path"].as<std::string>()) {
        descriptor_ = createMemoryFile(withNetworkPath(config));
        path_ = "/proc/self/fd/" + std::to_string(descriptor_);
    }
}

ResolvedConfig::~ResolvedConfig() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

}  // namespace brellix::app
