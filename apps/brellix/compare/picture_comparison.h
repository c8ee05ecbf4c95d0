#pragma once

/// \file
/// How far two results of one picture agree.

#include "compare/object_pairs.h"

#include <brellix/cv_model.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

/// How one side decides what an object is.
struct SideRules {
    double confidence = 0.0;  ///< threshold
    /// Of two scores, each of which has to exceed the threshold for itself.
    bool probabilityIsProduct = false;
};

/// What counts as the same, and as close to the threshold.
struct ComparisonRules {
    double overlap = 0.5;  ///< of the boxes of one object
    double margin = 0.05;  ///< from the other side's threshold; where it is 0, nothing is close
    SideRules a;
    SideRules b;
};

/// One object found by both.
struct Agreement {
    ObjectPair pair;
    double drift;                       ///< |probability in B - probability in A|
    std::optional<double> maskOverlap;  ///< where both have masks
};

/// One object found by one side only.
struct Loss {
    std::size_t object;
    bool isNearThreshold;  ///< so close to the other side's threshold that it may come and go
};

struct PictureComparison {
    std::string source;
    std::vector<ai_orvo::model::Object> a;
    std::vector<ai_orvo::model::Object> b;
    std::vector<Agreement> agreements;
    std::vector<ObjectPair> classChanged;
    std::vector<Loss> missed;  ///< only in A
    std::vector<Loss> extra;   ///< only in B

    /// \return how bad it is: 1 for each object that is missed, extra or of another class, a tenth where it
    ///         is near the threshold, and the worst loss of box overlap, of mask overlap and of probability.
    double severity() const;
};

PictureComparison comparePicture(const std::string& source, const std::vector<ai_orvo::model::Object>& a,
                                 const std::vector<ai_orvo::model::Object>& b, const ComparisonRules& rules);

}  // namespace brellix::app
