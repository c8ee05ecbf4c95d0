#pragma once

/// \file
/// Which objects of two results are the same.

#include <brellix/cv_model.h>

#include <cstddef>
#include <vector>

namespace brellix::app {

/// An object of each side, by index.
struct ObjectPair {
    std::size_t a;
    std::size_t b;
    double overlap;  ///< of the boxes
};

/// Every object is in exactly one of the lists.
struct PairedObjects {
    std::vector<ObjectPair> same;          ///< of one class
    std::vector<ObjectPair> classChanged;  ///< at one place, of two classes
    std::vector<std::size_t> onlyA;
    std::vector<std::size_t> onlyB;
};

/// Pairs objects whose boxes overlap by at least `threshold`, the largest overlap first: first those of the
/// same class, then among what is left those of different classes.
PairedObjects pairObjects(const std::vector<ai_orvo::model::Object>& a,
                          const std::vector<ai_orvo::model::Object>& b, double threshold);

}  // namespace brellix::app
