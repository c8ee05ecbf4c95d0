#pragma once

/// \file
/// Files that a run must not write over.

#include <set>
#include <string>

namespace brellix::app {

/// Knows files by where they really are, whatever path leads there.
class ProtectedFiles {
  public:
    void add(const std::string& path);

    /// Throws `Failure` where `target`, which the option `option` names, is one of the files.
    void refuse(const std::string& option, const std::string& target) const;

  private:
    std::set<std::string> paths_;
};

}  // namespace brellix::app
