#pragma once

/// \file
/// A folder that lives as long as the object.

#include <string>

namespace brellix::testing {

class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }

    /// Writes `content` to a file of this folder. \return its path.
    std::string write(const std::string& name, const std::string& content) const;

  private:
    std::string path_;
};

}  // namespace brellix::testing
