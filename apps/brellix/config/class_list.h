#pragma once

/// \file
/// The names of the classes.

#include <yaml-cpp/yaml.h>

#include <cstddef>
#include <string>
#include <vector>

namespace brellix::app {

/// Class names by label; a label without a name is called by its number.
class ClassList {
  public:
    /// Takes the names from the text file `namesFile`, or, where that is empty, from "class_mapping" of the
    /// configuration document. Throws `Failure` for a file that cannot be read.
    ClassList(const std::string& namesFile, const YAML::Node& document);

    std::string nameOf(int label) const;

    /// By label up to the last that has a name; empty for one that has none.
    const std::vector<std::string>& names() const { return names_; }

    /// \return how many classes have a name.
    std::size_t count() const;

    /// \return a sentence if the names do not fit a network of `classNum` classes, else nothing. Having no
    ///         names at all fits.
    std::string mismatchWith(int classNum) const;

    /// \return columns of the longest name, at least `minimum` and at most `maximum`.
    std::size_t longestName(std::size_t minimum, std::size_t maximum) const;

  private:
    std::string origin_;
    std::vector<std::string> names_;
};

}  // namespace brellix::app
