#include "object_matching.h"

#include "evaluation/overlap.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace brellix::testing {

using ai_orvo::model::Object;

std::vector<std::pair<std::size_t, std::size_t>> matchObjects(const std::vector<Object>& first,
                                                              const std::vector<Object>& second,
                                                              double minOverlap) {
    std::vector<std::tuple<double, std::size_t, std::size_t>> candidates;
    for (std::size_t i = 0; i < first.size(); ++i) {
        for (std::size_t j = 0; j < second.size(); ++j) {
            const double overlap = app::boxOverlap(cv::Rect2d(first[i].rect), cv::Rect2d(second[j].rect));
            if (first[i].label == second[j].label && overlap >= minOverlap) {
                candidates.emplace_back(-overlap, i, j);
            }
        }
    }
    std::sort(candidates.begin(), candidates.end());
    std::set<std::size_t> usedFirst;
    std::set<std::size_t> usedSecond;
    std::vector<std::pair<std::size_t, std::size_t>> pairs;
    for (const auto& [negativeOverlap, i, j] : candidates) {
        if (usedFirst.count(i) == 0 && usedSecond.count(j) == 0) {
            usedFirst.insert(i);
            usedSecond.insert(j);
            pairs.emplace_back(i, j);
        }
    }
    return pairs;
}

}  // namespace brellix::testing
