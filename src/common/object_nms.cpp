#include "brellix/nms.h"
#include "common/numeric.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <utility>

namespace ai_orvo::model {
namespace {

bool moreProbable(const Object& a, const Object& b) {
    if (std::isnan(a.prob) || std::isnan(b.prob)) {
        return std::isnan(b.prob) && !std::isnan(a.prob);
    }
    return a.prob > b.prob;
}

/// Appends what survives of one class to `kept`.
void suppressClass(std::vector<Object>& group, float threshold, std::vector<Object>& kept) {
    std::stable_sort(group.begin(), group.end(), moreProbable);
    std::vector<cv::Rect_<int>> rects;
    rects.reserve(group.size());
    for (const Object& object : group) {
        rects.push_back(roundToInt(object.rect));
    }
    std::vector<char> suppressed(group.size(), 0);
    for (std::size_t i = 0; i < group.size(); ++i) {
        if (suppressed[i] != 0) {
            continue;
        }
        for (std::size_t j = i + 1; j < group.size(); ++j) {
            if (suppressed[j] == 0 && iou(rects[i], rects[j]) > threshold) {
                suppressed[j] = 1;
            }
        }
        kept.push_back(std::move(group[i]));
    }
}

/// Both areas together. Unsigned, because two rectangles of the lowest int on every side reach 2^63.
std::int64_t summedAreas(const cv::Rect_<int>& a, const cv::Rect_<int>& b) {
    const std::int64_t areaA = static_cast<std::int64_t>(a.width) * a.height;
    const std::int64_t areaB = static_cast<std::int64_t>(b.width) * b.height;
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(areaA) + static_cast<std::uint64_t>(areaB));
}

}  // namespace

float iou(cv::Rect_<int> a, cv::Rect_<int> b) {
    const std::int64_t ax = a.x;
    const std::int64_t ay = a.y;
    const std::int64_t bx = b.x;
    const std::int64_t by = b.y;
    const std::int64_t interWidth = std::min(ax + a.width, bx + b.width) - std::max(ax, bx);
    const std::int64_t interHeight = std::min(ay + a.height, by + b.height) - std::max(ay, by);

    float intersection = 0.0F;
    if (interWidth > 0 && interHeight > 0) {
        intersection = static_cast<float>(interWidth * interHeight);
    }
    const float unionArea = static_cast<float>(summedAreas(a, b)) - intersection;

    constexpr float kEpsilon = 2.220446e-16F;
    return unionArea < kEpsilon ? 0.0F : intersection / unionArea;
}

void nms(std::vector<Object>& objects, float nms_thresh) {
    std::map<int, std::vector<Object>> groups;
    for (Object& object : objects) {
        groups[object.label].push_back(std::move(object));
    }
    objects.clear();
    for (auto& labelAndGroup : groups) {
        suppressClass(labelAndGroup.second, nms_thresh, objects);
    }
}

}  // namespace ai_orvo::model
