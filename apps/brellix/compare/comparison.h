#pragma once

/// \file
/// How far two configurations agree over many pictures.

#include "compare/picture_comparison.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

/// A number and the object that it was measured on.
struct Measurement {
    double value;
    std::string source;
    int label;
};

/// Numbers of all objects that both sides found.
class Measurements {
  public:
    void add(double value, const std::string& source, int label) {
        values_.push_back({value, source, label});
    }

    bool empty() const { return values_.empty(); }

    /// The following ask for at least one number.
    double mean() const;
    const Measurement& smallest() const;
    const Measurement& largest() const;

    /// \return the smallest number that at least 95 % of all do not exceed.
    double percentile95() const;

  private:
    std::vector<Measurement> values_;
};

/// Objects that one side has and the other has not.
struct LossCount {
    std::size_t clear = 0;          ///< far from the other side's threshold
    std::size_t nearThreshold = 0;  ///< close to it

    std::size_t all() const { return clear + nearThreshold; }
};

struct Comparison {
    std::size_t pictures = 0;
    std::size_t objectsA = 0;
    std::size_t objectsB = 0;
    std::size_t matched = 0;
    std::size_t classChanged = 0;
    LossCount missed;  ///< only in A
    LossCount extra;   ///< only in B
    Measurements boxOverlaps;
    Measurements maskOverlaps;
    Measurements drifts;  ///< of probability

    void add(const PictureComparison& picture);
};

/// What may differ; what is not set is not limited.
struct ComparisonLimits {
    std::optional<std::size_t> maxMissed;  ///< not counting those near the threshold
    std::optional<std::size_t> maxExtra;   ///< likewise
    std::optional<std::size_t> maxChanged;
    std::optional<double> maxDrift;  ///< of the worst object
    std::optional<double> minBoxOverlap;
    std::optional<double> minMaskOverlap;
};

/// \return a line for each limit that is exceeded, or that nothing was there to be held against.
std::vector<std::string> exceededLimits(const Comparison& comparison, const ComparisonLimits& limits);

}  // namespace brellix::app
