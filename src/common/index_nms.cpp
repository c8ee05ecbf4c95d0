#include "common/index_nms.h"

#include "brellix/nms.h"
#include "common/numeric.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace ai_orvo::model {
namespace {

/// Differences in single, the inclusive pixel and all that follows in double precision.
double inclusive(float difference) {
    return static_cast<double>(difference) + 1.0;
}

/// A box by its corners, and its area, both with the inclusive pixels.
struct CornerBox {
    CornerBox(float left, float top, float right, float bottom)
        : xmin(left),
          ymin(top),
          xmax(right),
          ymax(bottom),
          area(inclusive(xmax - xmin) * inclusive(ymax - ymin)) {}

    explicit CornerBox(const cv::Rect_<int>& box)
        : CornerBox(static_cast<float>(box.x), static_cast<float>(box.y),
                    static_cast<float>(wrappingSum(box.x, box.width)),
                    static_cast<float>(wrappingSum(box.y, box.height))) {}

    float xmin;
    float ymin;
    float xmax;
    float ymax;
    double area;
};

float overlapOf(const CornerBox& a, const CornerBox& b) {
    const auto width =
        static_cast<float>(std::fmax(0.0, inclusive(std::fmin(a.xmax, b.xmax) - std::fmax(a.xmin, b.xmin))));
    const auto height =
        static_cast<float>(std::fmax(0.0, inclusive(std::fmin(a.ymax, b.ymax) - std::fmax(a.ymin, b.ymin))));
    const float intersection = width * height;
    const auto unionArea = static_cast<float>(a.area + b.area - static_cast<double>(intersection));
    return unionArea <= 0.0F ? 0.0F : intersection / unionArea;
}

/// Whether no pixel is common, the inclusive ones counted. For boxes of whole pixels, which hold no NaN.
bool areDisjoint(const CornerBox& a, const CornerBox& b) {
    return std::min(a.xmax, b.xmax) - std::max(a.xmin, b.xmin) <= -1.0F ||
           std::min(a.ymax, b.ymax) - std::max(a.ymin, b.ymin) <= -1.0F;
}

/// A candidate of one class and where it stands in the order.
struct Ranked {
    CornerBox box;
    std::size_t position;
    bool suppressed = false;
};

/// An empty group with room for as many candidates as pictures usually give, so that it seldom grows.
std::vector<Ranked> emptyGroup(std::size_t most) {
    constexpr std::size_t kUsual = 128;
    std::vector<Ranked> group;
    group.reserve(std::min(most, kUsual));
    return group;
}

/// Whether the more probable `keeper` suppresses the box.
bool isSuppressed(const CornerBox& box, const CornerBox& keeper, float threshold) {
    // An overlap of 0 exceeds a negative threshold, so that only then boxes apart have to be compared.
    const bool apartNeverSuppress = !(threshold < 0.0F);
    return !(apartNeverSuppress && areDisjoint(keeper, box)) && overlapOf(keeper, box) > threshold;
}

/// Greedy suppression among candidates of one class, given by falling score; suppressed ones become -1.
void suppress(std::vector<Ranked>& group, float threshold, std::vector<int>& order) {
    for (std::size_t i = 0; i < group.size(); ++i) {
        if (group[i].suppressed) {
            order[group[i].position] = -1;
            continue;
        }
        const CornerBox keeper = group[i].box;
        for (std::size_t j = i + 1; j < group.size(); ++j) {
            Ranked& other = group[j];
            other.suppressed = other.suppressed || isSuppressed(other.box, keeper, threshold);
        }
    }
}

}  // namespace

float CalculateOverlap(float xmin0, float ymin0, float xmax0, float ymax0, float xmin1, float ymin1,
                       float xmax1, float ymax1) {
    return overlapOf({xmin0, ymin0, xmax0, ymax0}, {xmin1, ymin1, xmax1, ymax1});
}

// In place: it asks for no memory of its own, so that nothing can fail.
void nms(int validCount, std::vector<cv::Rect_<int>>& boxes, std::vector<int> classIds,
         std::vector<int>& order, int classId, float threshold) {
    const std::size_t candidates = std::min(boxes.size(), classIds.size());
    const std::size_t positions = std::min(order.size(), static_cast<std::size_t>(std::max(validCount, 0)));
    const auto isOfClass = [&](int entry) {
        const auto candidate = static_cast<std::size_t>(entry);  // beyond all where the entry is negative
        return candidate < candidates && classIds[candidate] == classId;
    };
    const auto boxOf = [&](int entry) { return CornerBox(boxes[static_cast<std::size_t>(entry)]); };
    for (std::size_t i = 0; i < positions; ++i) {
        if (!isOfClass(order[i])) {
            continue;
        }
        const CornerBox keeper = boxOf(order[i]);
        for (std::size_t j = i + 1; j < positions; ++j) {
            if (isOfClass(order[j]) && isSuppressed(boxOf(order[j]), keeper, threshold)) {
                order[j] = -1;
            }
        }
    }
}

void suppressInEachClass(const std::vector<cv::Rect_<int>>& boxes, const std::vector<int>& classIds,
                         float threshold, std::vector<int>& order) {
    // Positions by class, each class's in order.
    std::vector<std::pair<int, std::size_t>> positions;
    positions.reserve(order.size());
    for (std::size_t position = 0; position < order.size(); ++position) {
        positions.emplace_back(classIds[static_cast<std::size_t>(order[position])], position);
    }
    std::sort(positions.begin(), positions.end());
    std::vector<Ranked> group = emptyGroup(positions.size());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const auto [classId, position] = positions[i];
        group.push_back({CornerBox(boxes[static_cast<std::size_t>(order[position])]), position});
        if (i + 1 == positions.size() || positions[i + 1].first != classId) {
            suppress(group, threshold, order);
            group.clear();
        }
    }
}

}  // namespace ai_orvo::model
