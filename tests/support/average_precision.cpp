#include "support/average_precision.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>

namespace brellix::testing {
namespace {

using Indices = std::vector<std::size_t>;
using Overlap = std::function<double(std::size_t, std::size_t)>;

double boxOverlap(const cv::Rect2d& a, const cv::Rect2d& b) {
    const double width = std::min(a.x + a.width, b.x + b.width) - std::max(a.x, b.x);
    const double height = std::min(a.y + a.height, b.y + b.height) - std::max(a.y, b.y);
    if (width <= 0 || height <= 0) {
        return 0;
    }
    return width * height / (a.area() + b.area() - width * height);
}

Indices indicesOf(const std::vector<ScoredBox>& boxes, int label) {
    Indices indices;
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        if (boxes[i].label == label) {
            indices.push_back(i);
        }
    }
    return indices;
}

/// Whether each detection, in the order given, finds a truth of its own.
std::vector<bool> matchGreedily(const std::vector<ScoredBox>& truth, const Indices& truthIndices,
                                const std::vector<ScoredBox>& detections, const Indices& order,
                                double threshold, const Overlap& overlap) {
    std::set<std::size_t> taken;
    std::vector<bool> matched;
    for (const std::size_t detection : order) {
        double best = threshold;
        auto bestTruth = truth.size();
        for (const std::size_t candidate : truthIndices) {
            if (truth[candidate].image != detections[detection].image || taken.count(candidate) != 0) {
                continue;
            }
            const double value = overlap(detection, candidate);
            if (value >= best) {
                best = value;
                bestTruth = candidate;
            }
        }
        matched.push_back(bestTruth != truth.size());
        taken.insert(bestTruth);
        taken.erase(truth.size());
    }
    return matched;
}

double interpolatedPrecision(const std::vector<bool>& matched, std::size_t positives) {
    std::vector<double> recall;
    std::vector<double> precision;
    double hits = 0;
    for (std::size_t i = 0; i < matched.size(); ++i) {
        hits += matched[i] ? 1 : 0;
        recall.push_back(hits / static_cast<double>(positives));
        precision.push_back(hits / static_cast<double>(i + 1));
    }
    for (std::size_t i = precision.size(); i-- > 1;) {
        precision[i - 1] = std::max(precision[i - 1], precision[i]);
    }
    double sum = 0;
    for (int point = 0; point <= 100; ++point) {
        const auto at = std::lower_bound(recall.begin(), recall.end(), point / 100.0);
        sum += at == recall.end() ? 0 : precision[static_cast<std::size_t>(at - recall.begin())];
    }
    return sum / 101;
}

}  // namespace

double averagePrecision(const std::vector<ScoredBox>& truth, const std::vector<ScoredBox>& detections,
                        double threshold, const Overlap& overlap) {
    std::set<int> labels;
    for (const ScoredBox& box : truth) {
        labels.insert(box.label);
    }
    double sum = 0;
    for (const int label : labels) {
        const Indices truthIndices = indicesOf(truth, label);
        Indices order = indicesOf(detections, label);
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return detections[a].score > detections[b].score;
        });
        const auto matched = matchGreedily(truth, truthIndices, detections, order, threshold, overlap);
        sum += interpolatedPrecision(matched, truthIndices.size());
    }
    return labels.empty() ? 0 : sum / static_cast<double>(labels.size());
}

double averagePrecision(const std::vector<ScoredBox>& truth, const std::vector<ScoredBox>& detections,
                        double threshold) {
    return averagePrecision(truth, detections, threshold, [&](std::size_t detection, std::size_t box) {
        return boxOverlap(detections[detection].box, truth[box].box);
    });
}

}  // namespace brellix::testing
