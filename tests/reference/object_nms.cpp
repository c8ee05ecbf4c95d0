#include "reference/object_nms.h"

#include "reference/rounding.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>

namespace brellix::reference {

using ai_orvo::model::Object;

namespace {

/// Exact for the sum of any two products of ints.
long double area(const cv::Rect& box) {
    return static_cast<long double>(static_cast<std::int64_t>(box.width) * box.height);
}

bool moreProbable(const Object& a, const Object& b) {
    if (std::isnan(b.prob)) {
        return !std::isnan(a.prob);
    }
    return a.prob > b.prob;
}

bool overlapsAny(const Object& object, const std::vector<Object>& kept, float threshold) {
    return std::any_of(kept.begin(), kept.end(), [&](const Object& better) {
        return iou(wholePixelBox(better.rect), wholePixelBox(object.rect)) > threshold;
    });
}

}  // namespace

float iou(const cv::Rect& a, const cv::Rect& b) {
    const auto right = [](const cv::Rect& box) { return static_cast<std::int64_t>(box.x) + box.width; };
    const auto bottom = [](const cv::Rect& box) { return static_cast<std::int64_t>(box.y) + box.height; };
    const std::int64_t width = std::min(right(a), right(b)) - std::max(a.x, b.x);
    const std::int64_t height = std::min(bottom(a), bottom(b)) - std::max(a.y, b.y);
    const float intersection = width > 0 && height > 0 ? static_cast<float>(width * height) : 0.0F;
    const float unionArea = static_cast<float>(area(a) + area(b)) - intersection;
    if (unionArea < static_cast<float>(std::numeric_limits<double>::epsilon())) {
        return 0.0F;
    }
    return intersection / unionArea;
}

std::vector<Object> keepGreedily(const std::vector<Object>& objects, float threshold) {
    std::map<int, std::vector<Object>> groups;
    for (const Object& object : objects) {
        groups[object.label].push_back(object);
    }
    std::vector<Object> result;
    for (auto& [label, group] : groups) {
        std::stable_sort(group.begin(), group.end(), moreProbable);
        std::vector<Object> kept;
        for (const Object& object : group) {
            if (!overlapsAny(object, kept, threshold)) {
                kept.push_back(object);
            }
        }
        result.insert(result.end(), kept.begin(), kept.end());
    }
    return result;
}

}  // namespace brellix::reference
