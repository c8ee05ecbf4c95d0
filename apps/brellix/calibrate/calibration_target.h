#pragma once

/// \file
/// Where a calibration is written to.

#include <quantization/calibration.h>

#include <string>

namespace brellix::app {

/// A file to be written in one go: until then, and where writing fails, an older one stays as it is.
class CalibrationTarget {
  public:
    /// Throws `Failure` where the file cannot be created, or exists and `replace` is false.
    CalibrationTarget(const std::string& path, bool replace);

    /// Throws `Failure`.
    void write(const ai_orvo::alg::common::Calibration& calibration) const;

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

}  // namespace brellix::app
