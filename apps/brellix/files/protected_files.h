#pragma once

/// \file
/// Files that a run must not write over.

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

/// The inputs of a run, and the files that its other options write.
///
/// Knows files by where they really are and, those that exist, by what they are, whatever path or hard link
/// leads there. Devices and pipes lose nothing by being written to and are not protected.
class ProtectedFiles {
  public:
    /// An empty path stands for none.
    void addInput(const std::string& path);
    void addInputs(const std::vector<std::string>& paths);

    /// Protects an input that was not known beforehand, one of a row of any length. The file system may give
    /// the number of a file that is gone to the next new one, a result perhaps: of the inputs before this one
    /// only the places stay protected.
    void setCurrentInput(const std::string& path);

    /// Throws `Failure` where `target`, which the option `option` writes, is an input or what another option
    /// writes, or a name of standard output, through which nothing would get there.
    void refuse(const std::string& option, const std::string& target) const;

    /// Does the same, and keeps `target` for the option from then on.
    void claim(const std::string& option, const std::string& target);

  private:
    std::optional<std::string> holderOf(const std::string& mark) const;

    std::map<std::string, std::string> holders_;  ///< by place or by identity: an option, empty for inputs
    std::string current_;                         ///< the last mark of the current input
};

}  // namespace brellix::app
