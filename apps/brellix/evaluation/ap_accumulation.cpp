#include "evaluation/ap_accumulation.h"

#include <algorithm>
#include <limits>

namespace brellix::app {
namespace {

/// A detection by its picture and its place there.
struct Place {
    std::size_t picture;
    std::size_t detection;
};

std::vector<Place> placesByScore(const std::vector<Matches>& pictures, std::size_t maxDetections) {
    std::vector<Place> places;
    for (std::size_t picture = 0; picture < pictures.size(); ++picture) {
        const std::size_t count = std::min(pictures[picture].scores.size(), maxDetections);
        for (std::size_t detection = 0; detection < count; ++detection) {
            places.push_back({picture, detection});
        }
    }
    const auto scoreOf = [&](const Place& place) { return pictures[place.picture].scores[place.detection]; };
    std::stable_sort(places.begin(), places.end(),
                     [&](const Place& a, const Place& b) { return scoreOf(a) > scoreOf(b); });
    return places;
}

/// The curve that grows with each detection that is not ignored.
struct Curve {
    std::vector<double> recall;
    std::vector<double> precision;
};

Curve curveOf(const std::vector<Outcome>& outcomes, std::size_t positives) {
    Curve curve;
    double right = 0.0;
    double wrong = 0.0;
    for (const Outcome outcome : outcomes) {
        right += outcome == Outcome::kTrue ? 1.0 : 0.0;
        wrong += outcome == Outcome::kFalse ? 1.0 : 0.0;
        curve.recall.push_back(right / static_cast<double>(positives));
        // COCO's guard against dividing by zero while all detections so far are ignored.
        curve.precision.push_back(right / (wrong + right + std::numeric_limits<double>::epsilon()));
    }
    for (std::size_t i = curve.precision.size(); i-- > 1;) {
        curve.precision[i - 1] = std::max(curve.precision[i - 1], curve.precision[i]);
    }
    return curve;
}

std::array<double, kRecallCount> atRecallPoints(const Curve& curve) {
    std::array<double, kRecallCount> precision{};
    for (std::size_t i = 0; i < kRecallCount; ++i) {
        const auto reached = std::lower_bound(curve.recall.begin(), curve.recall.end(), recallPoints()[i]) -
                             curve.recall.begin();
        const auto index = static_cast<std::size_t>(reached);
        precision[i] = index < curve.precision.size() ? curve.precision[index] : 0.0;
    }
    return precision;
}

}  // namespace

std::optional<PrecisionRecall> accumulate(const std::vector<Matches>& pictures, std::size_t maxDetections) {
    std::size_t positives = 0;
    for (const Matches& matches : pictures) {
        positives += matches.positives;
    }
    if (positives == 0) {
        return std::nullopt;
    }
    const std::vector<Place> places = placesByScore(pictures, maxDetections);
    PrecisionRecall result;
    for (std::size_t threshold = 0; threshold < kOverlapCount; ++threshold) {
        std::vector<Outcome> outcomes;
        for (const Place& place : places) {
            outcomes.push_back(pictures[place.picture].outcomes[threshold][place.detection]);
        }
        const Curve curve = curveOf(outcomes, positives);
        result.recall[threshold] = curve.recall.empty() ? 0.0 : curve.recall.back();
        result.precision[threshold] = atRecallPoints(curve);
    }
    return result;
}

}  // namespace brellix::app
