#pragma once

/// \file
/// How a run ends: the exit statuses, and the exception that carries one with a sentence for the person.

#include <stdexcept>
#include <string>

namespace brellix::app {

enum class ExitStatus : int {
    kDone = 0,
    kAnswerIsNo = 1,    ///< the work was done and what was asked does not hold (check, init, compare)
    kWrongUse = 2,      ///< wrong options, a bad configuration, an input that does not exist
    kFailedAtWork = 3,  ///< a picture that could not be processed, a result that could not be written
    kStopped = 128,     ///< somebody stopped the run, which ends by the signal (`endBySignal`)
};

/// Ends the run with `status()`; `what()` says the cause, the place and what to do.
class Failure : public std::runtime_error {
  public:
    Failure(ExitStatus status, const std::string& message) : std::runtime_error(message), status_(status) {}

    ExitStatus status() const { return status_; }

  private:
    ExitStatus status_;
};

inline Failure wrongUse(const std::string& message) {
    return {ExitStatus::kWrongUse, message};
}
inline Failure failedAtWork(const std::string& message) {
    return {ExitStatus::kFailedAtWork, message};
}

}  // namespace brellix::app
