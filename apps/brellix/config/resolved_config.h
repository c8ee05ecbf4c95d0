#pragma once

/// \file
/// A configuration under a path from which a constructor finds the network.

#include "config/model_config_check.h"

#include <string>

namespace brellix::app {

/// Gives the constructors, which read a file, the configuration with the path under which the network was
/// found and the thresholds of the command line.
///
/// Where the file itself says all of this, and can be read once more, it is the file itself. Else it is a
/// copy in memory, readable by this process alone, so that nothing is left behind even by a constructor that
/// ends the process.
class ResolvedConfig {
  public:
    explicit ResolvedConfig(const ModelConfig& config);
    ResolvedConfig(const ResolvedConfig&) = delete;
    ResolvedConfig& operator=(const ResolvedConfig&) = delete;
    ~ResolvedConfig();

    const std::string& path() const { return path_; }

  private:
    int descriptor_ = -1;
    std::string path_;
};

}  // namespace brellix::app
