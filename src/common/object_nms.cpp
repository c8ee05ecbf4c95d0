#include "brellix/nms.h"
#include "common/numeric.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <utility>

namespace ai_orvo::model {
namespace {

/// A box of whole pixels by its edges, right and bottom exclusive, and its area.
struct EdgeBox {
    explicit EdgeBox(const cv::Rect_<int>& box)
        : left(box.x),
          top(box.y),
          right(left + box.width),
          bottom(top + box.height),
          area(std::int64_t{box.width} * box.height) {}

    std::int64_t left;
    std::int64_t top;
    std::int64_t right;
    std::int64_t bottom;
    std::int64_t area;
};

/// Both areas together. Unsigned, because two rectangles of the lowest int on every side reach 2^63.
std::int64_t summedAreas(const EdgeBox& a, const EdgeBox& b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a.area) + static_cast<std::uint64_t>(b.area));
}

bool areDisjoint(const EdgeBox& a, const EdgeBox& b) {
    return std::min(a.right, b.right) <= std::max(a.left, b.left) ||
           std::min(a.bottom, b.bottom) <= std::max(a.top, b.top);
}

float overlapOf(const EdgeBox& a, const EdgeBox& b) {
    float intersection = 0.0F;
    if (!areDisjoint(a, b)) {
        intersection = static_cast<float>((std::min(a.right, b.right) - std::max(a.left, b.left)) *
                                          (std::min(a.bottom, b.bottom) - std::max(a.top, b.top)));
    }
    const float unionArea = static_cast<float>(summedAreas(a, b)) - intersection;

    constexpr float kEpsilon = 2.220446e-16F;
    return unionArea < kEpsilon ? 0.0F : intersection / unionArea;
}

/// What suppression has to know of an object; the objects themselves are too large to be moved around.
struct Candidate {
    int label;
    float prob;
    std::size_t index;
    EdgeBox box;
    bool suppressed = false;

    /// By label, then by falling probability, NaN last, then as given.
    bool operator<(const Candidate& other) const {
        const auto key = [](const Candidate& candidate) {
            const bool isNan = std::isnan(candidate.prob);
            return std::make_tuple(candidate.label, isNan, isNan ? 0.0F : -candidate.prob, candidate.index);
        };
        return key(*this) < key(other);
    }
};

std::vector<Candidate> sortedCandidates(const std::vector<Object>& objects) {
    std::vector<Candidate> candidates;
    candidates.reserve(objects.size());
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const Object& object = objects[i];
        candidates.push_back({object.label, object.prob, i, EdgeBox(roundToInt(object.rect))});
    }
    std::sort(candidates.begin(), candidates.end());
    return candidates;
}

/// Marks what a more probable one of the same label suppresses.
void suppress(std::vector<Candidate>& candidates, float threshold) {
    // An overlap of 0 exceeds a negative threshold, so that only then boxes apart have to be compared.
    const bool apartNeverSuppress = !(threshold < 0.0F);
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        const Candidate& keeper = candidates[i];
        if (keeper.suppressed) {
            continue;
        }
        for (std::size_t j = i + 1; j < candidates.size() && candidates[j].label == keeper.label; ++j) {
            Candidate& other = candidates[j];
            if (other.suppressed || (apartNeverSuppress && areDisjoint(keeper.box, other.box))) {
                continue;
            }
            other.suppressed = overlapOf(keeper.box, other.box) > threshold;
        }
    }
}

}  // namespace

float iou(cv::Rect_<int> a, cv::Rect_<int> b) {
    return overlapOf(EdgeBox(a), EdgeBox(b));
}

void nms(std::vector<Object>& objects, float nms_thresh) {
    std::vector<Candidate> candidates = sortedCandidates(objects);
    suppress(candidates, nms_thresh);
    std::vector<Object> kept;
    kept.reserve(static_cast<std::size_t>(
        std::count_if(candidates.begin(), candidates.end(),
                      [](const Candidate& candidate) { return !candidate.suppressed; })));
    for (const Candidate& candidate : candidates) {
        if (!candidate.suppressed) {
            kept.push_back(std::move(objects[candidate.index]));
        }
    }
    objects = std::move(kept);
}

}  // namespace ai_orvo::model
