#include "compare/object_pairs.h"

#include "evaluation/overlap.h"

#include <algorithm>

namespace brellix::app {
namespace {

using ai_orvo::model::Object;
using Objects = std::vector<Object>;

/// Boxes without area overlap nothing, and are still the same where they are equal.
double overlapOf(const Object& a, const Object& b) {
    return a.rect == b.rect ? 1.0 : boxOverlap(cv::Rect2d(a.rect), cv::Rect2d(b.rect));
}

/// All pairs that overlap enough, the largest overlap first.
std::vector<ObjectPair> candidates(const Objects& a, const Objects& b, double threshold) {
    std::vector<ObjectPair> pairs;
    for (std::size_t i = 0; i < a.size(); ++i) {
        for (std::size_t k = 0; k < b.size(); ++k) {
            const double overlap = overlapOf(a[i], b[k]);
            if (overlap >= threshold) {
                pairs.push_back({i, k, overlap});
            }
        }
    }
    std::stable_sort(pairs.begin(), pairs.end(),
                     [](const ObjectPair& x, const ObjectPair& y) { return x.overlap > y.overlap; });
    return pairs;
}

std::vector<std::size_t> indicesOf(const std::vector<bool>& taken) {
    std::vector<std::size_t> free;
    for (std::size_t i = 0; i < taken.size(); ++i) {
        if (!taken[i]) {
            free.push_back(i);
        }
    }
    return free;
}

}  // namespace

PairedObjects pairObjects(const Objects& a, const Objects& b, double threshold) {
    const std::vector<ObjectPair> pairs = candidates(a, b, threshold);
    std::vector<bool> takenA(a.size(), false);
    std::vector<bool> takenB(b.size(), false);
    const auto take = [&](bool wantSameClass) {
        std::vector<ObjectPair> chosen;
        for (const ObjectPair& pair : pairs) {
            const bool isSameClass = a[pair.a].label == b[pair.b].label;
            if (isSameClass == wantSameClass && !takenA[pair.a] && !takenB[pair.b]) {
                takenA[pair.a] = true;
                takenB[pair.b] = true;
                chosen.push_back(pair);
            }
        }
        return chosen;
    };
    PairedObjects result;
    result.same = take(true);
    result.classChanged = take(false);
    result.onlyA = indicesOf(takenA);
    result.onlyB = indicesOf(takenB);
    return result;
}

}  // namespace brellix::app
