#pragma once

/// \file
/// A network without the calibration that stands beside it.

#include <string>

namespace brellix::app {

/// The network under a path beside which no calibration file can stand. An older calibration, which may be
/// damaged or another network's, would keep the engine from loading the network at all.
class UncalibratedNetwork {
  public:
    /// Throws `Failure` where the file at `path` cannot be opened.
    explicit UncalibratedNetwork(const std::string& path);
    UncalibratedNetwork(const UncalibratedNetwork&) = delete;
    UncalibratedNetwork& operator=(const UncalibratedNetwork&) = delete;
    ~UncalibratedNetwork();

    const std::string& path() const { return path_; }

  private:
    int descriptor_;
    std::string path_;
};

}  // namespace brellix::app
