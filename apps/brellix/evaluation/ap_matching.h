#pragma once

/// \file
/// Which detections find ground truth: one class on one picture.

#include "evaluation/ap_definitions.h"

#include <array>
#include <cstddef>
#include <vector>

namespace brellix::app {

struct CandidateTruth {
    double area;
    bool isCrowd;
};

struct CandidateDetection {
    double area;
    double score;
};

/// One class on one picture.
struct Candidates {
    std::vector<CandidateTruth> truths;
    std::vector<CandidateDetection> detections;  ///< by falling score, at most `kMostDetections`
    std::vector<std::vector<double>> overlaps;   ///< by detection, by truth
};

enum class Outcome { kFalse, kTrue, kIgnored };

struct Matches {
    std::vector<double> scores;                                ///< of the detections
    std::array<std::vector<Outcome>, kOverlapCount> outcomes;  ///< of the detections, by threshold
    std::size_t positives = 0;                                 ///< truths that are to be found
};

/// Matches detections with truths at each threshold, counting only objects of `areas`.
///
/// Each detection, by falling score, takes the free truth that it overlaps most, of equals the last. Truths
/// outside of `areas` and crowds are to be ignored: they are taken only where no other is, and then the
/// detection is neither right nor wrong; a crowd stays free. A detection outside of `areas` that takes
/// nothing is ignored too.
Matches matchDetections(const Candidates& candidates, const AreaRange& areas);

}  // namespace brellix::app
