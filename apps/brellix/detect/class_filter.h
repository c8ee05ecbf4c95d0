#pragma once

/// \file
/// Only the classes that somebody asked for.

#include "config/class_list.h"

#include <brellix/cv_model.h>

#include <set>
#include <string>
#include <vector>

namespace brellix::app {

/// The classes of --classes; without any, all pass.
class ClassFilter {
  public:
    /// \param wanted   lists of names or numbers with commas between them; a name that is a number means the
    ///                 name, a name that several classes have means them all.
    /// \param classNum how many classes the model knows.
    /// Throws `Failure` for what is neither, with the classes that there are, and for a list of nothing.
    ClassFilter(const std::vector<std::string>& wanted, const ClassList& classes, int classNum);

    /// Takes the objects of other classes out.
    void apply(std::vector<ai_orvo::model::Object>& objects) const;

  private:
    std::set<int> labels_;
};

}  // namespace brellix::app
