#include "check/engine_trial.h"

#include <sys/mman.h>
#include <unistd.h>

#include <string_view>

namespace brellix::app {
namespace {

/// Standard error, as long as it lives, goes into memory. Where that cannot be had it stays as it is.
class CaughtStandardError {
  public:
    CaughtStandardError() : memory_(memfd_create("brellix-engine-says", MFD_CLOEXEC)) {
        saved_ = memory_ < 0 ? -1 : dup(STDERR_FILENO);
        if (saved_ >= 0) {
            dup2(memory_, STDERR_FILENO);
        }
    }
    CaughtStandardError(const CaughtStandardError&) = delete;
    CaughtStandardError& operator=(const CaughtStandardError&) = delete;
    ~CaughtStandardError() {
        if (saved_ >= 0) {
            dup2(saved_, STDERR_FILENO);
            close(saved_);
        }
        if (memory_ >= 0) {
            close(memory_);
        }
    }

    std::string text() const {
        std::string text(memory_ < 0 ? 0 : static_cast<std::size_t>(lseek(memory_, 0, SEEK_END)), '\0');
        const ssize_t got = text.empty() ? 0 : pread(memory_, text.data(), text.size(), 0);
        text.resize(got < 0 ? 0 : static_cast<std::size_t>(got));
        return text;
    }

  private:
    int memory_;
    int saved_ = -1;
};

/// \return what stands behind the engine's name in the last of its lines, else everything.
std::string reasonIn(const std::string& said) {
    constexpr std::string_view kLead = "brellix_ai_engine: ";
    const std::size_t start = said.rfind(kLead);
    std::string reason = start == std::string::npos ? said : said.substr(start + kLead.size());
    reason.erase(reason.find_last_not_of('\n') + 1);
    return reason;
}

}  // namespace

std::string reasonOfEngine(const ModelSettings& settings, const std::string& networkPath) {
    namespace engine = ai_orvo::alg::common;
    engine::AIEngineConfig config = engineTables(settings);
    config.model_path = networkPath;
    engine::AIEngine candidate;
    const CaughtStandardError caught;
    const int status = candidate.Init(config);
    return status == 0 ? "" : "code " + std::to_string(status) + ": " + reasonIn(caught.text());
}

}  // namespace brellix::app
