#include "config/construction_guard.h"

#include "console/console.h"
#include "console/failure.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace brellix::app {
namespace {

// Empty: nothing is guarded. Never destroyed, since exit handlers outlive objects.
std::string& guardedConfig() {
    static auto* const config = new std::string;
    return *config;
}

void endWithWrongUse() {
    if (guardedConfig().empty()) {
        return;
    }
    std::fflush(stdout);
    Console().error("the model refused " + guardedConfig() +
                    " and ended the process; its reason stands above, or is shown with --verbose");
    _exit(static_cast<int>(ExitStatus::kWrongUse));
}

}  // namespace

ConstructionGuard::ConstructionGuard(const std::string& config) {
    static const int registered = std::atexit(&endWithWrongUse);
    static_cast<void>(registered);
    guardedConfig() = config.empty() ? "the configuration" : config;
}

ConstructionGuard::~ConstructionGuard() {
    guardedConfig().clear();
}

}  // namespace brellix::app
