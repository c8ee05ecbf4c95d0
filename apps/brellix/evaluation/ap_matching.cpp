#include "evaluation/ap_matching.h"

#include <algorithm>

namespace brellix::app {
namespace {

// An overlap of exactly 1 must pass whatever rounding made of it.
constexpr double kHighestThreshold = 1.0 - 1e-10;
constexpr std::size_t kNone = static_cast<std::size_t>(-1);

/// Truth indices, the ones to be found first, each part in the order given.
struct TruthOrder {
    std::vector<std::size_t> indices;
    std::size_t positives;
};

TruthOrder orderTruths(const std::vector<CandidateTruth>& truths, const AreaRange& areas) {
    TruthOrder order{{}, 0};
    for (std::size_t i = 0; i < truths.size(); ++i) {
        order.indices.push_back(i);
    }
    const auto isPositive = [&](std::size_t i) { return !truths[i].isCrowd && areas.holds(truths[i].area); };
    const auto end = std::stable_partition(order.indices.begin(), order.indices.end(), isPositive);
    order.positives = static_cast<std::size_t>(end - order.indices.begin());
    return order;
}

/// One threshold's matching.
class Matcher {
  public:
    Matcher(const Candidates& candidates, const TruthOrder& order, double threshold)
        : candidates_(candidates),
          order_(order),
          threshold_(std::min(threshold, kHighestThreshold)),
          taken_(order.indices.size(), false) {}

    /// \return the position in the order of the truth that the detection takes, or `kNone`.
    std::size_t take(std::size_t detection) {
        const std::vector<double>& overlaps = candidates_.overlaps[detection];
        std::size_t best = bestOf(overlaps, 0, order_.positives);
        if (best == kNone) {
            best = bestOf(overlaps, order_.positives, order_.indices.size());
        }
        if (best != kNone) {
            taken_[best] = true;
        }
        return best;
    }

  private:
    bool isFree(std::size_t position) const {
        return !taken_[position] || candidates_.truths[order_.indices[position]].isCrowd;
    }

    std::size_t bestOf(const std::vector<double>& overlaps, std::size_t begin, std::size_t end) const {
        double least = threshold_;
        std::size_t best = kNone;
        for (std::size_t position = begin; position < end; ++position) {
            const double overlap = overlaps[order_.indices[position]];
            if (isFree(position) && overlap >= least) {
                least = overlap;
                best = position;
            }
        }
        return best;
    }

    const Candidates& candidates_;
    const TruthOrder& order_;
    double threshold_;
    std::vector<bool> taken_;  ///< by position in the order
};

std::vector<Outcome> outcomesAt(double threshold, const Candidates& candidates, const TruthOrder& order,
                                const AreaRange& areas) {
    Matcher matcher(candidates, order, threshold);
    std::vector<Outcome> outcomes;
    for (std::size_t i = 0; i < candidates.detections.size(); ++i) {
        const std::size_t truth = matcher.take(i);
        if (truth != kNone) {
            outcomes.push_back(truth < order.positives ? Outcome::kTrue : Outcome::kIgnored);
        } else {
            outcomes.push_back(areas.holds(candidates.detections[i].area) ? Outcome::kFalse
                                                                          : Outcome::kIgnored);
        }
    }
    return outcomes;
}

}  // namespace

Matches matchDetections(const Candidates& candidates, const AreaRange& areas) {
    const TruthOrder order = orderTruths(candidates.truths, areas);
    Matches matches;
    matches.positives = order.positives;
    for (const CandidateDetection& detection : candidates.detections) {
        matches.scores.push_back(detection.score);
    }
    for (std::size_t i = 0; i < kOverlapCount; ++i) {
        matches.outcomes[i] = outcomesAt(overlapThresholds()[i], candidates, order, areas);
    }
    return matches;
}

}  // namespace brellix::app
