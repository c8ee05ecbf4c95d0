#pragma once

/// \file
/// How the engine says no: a code for the caller, one line on standard error for the person.

#include <stdexcept>
#include <string>

namespace ai_orvo::alg::common {

/// What `AIEngine::Init` and `AIEngine::DoInference` return; docs/engine.md explains each.
enum class Status : int {
    kDone = 0,
    kFileUnreadable = 1,
    kNotAnOnnxNetwork = 2,
    kConfigurationMismatch = 3,
    kBackendRefusal = 4,
    kBadEnvironment = 5,
    kNotInitialised = 6,
    kBadInputs = 7,
    kBadOutputs = 8,
    kInferenceFailed = 9,
    kInternal = 10,
    kBadCalibration = 11,
};

/// Carries a status code and the sentence for it from where the trouble is seen to the engine's boundary.
class Refusal : public std::runtime_error {
  public:
    Refusal(Status status, const std::string& sentence);
    Status status() const { return status_; }

  private:
    Status status_;
};

/// Writes one line to standard error. Control characters, which a file name or a foreign error text may hold,
/// become blanks, so that it stays one line.
void sayOnStandardError(const std::string& sentence) noexcept;

/// Reports the exception in flight on standard error; called from a catch block only.
/// \return its status code.
int reportCurrentException() noexcept;

}  // namespace ai_orvo::alg::common
