#pragma once

/// \file
/// The net under a constructor that ends the process.

#include <string>

namespace brellix::app {

/// While one exists, `exit` ends the process with the status of wrong use and a message, whatever status it
/// was called with: a run that did nothing must not look like one that worked. One at a time.
class ConstructionGuard {
  public:
    /// \param config what the message calls the configuration.
    explicit ConstructionGuard(const std::string& config);
    ConstructionGuard(const ConstructionGuard&) = delete;
    ConstructionGuard& operator=(const ConstructionGuard&) = delete;
    ~ConstructionGuard();
};

}  // namespace brellix::app
