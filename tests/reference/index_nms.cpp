#include "reference/index_nms.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace brellix::reference {

namespace {

/// Moves the leftmost element to its final place, greater ones before it, smaller ones behind it.
/// \return that place.
int partition(std::vector<float>& scores, int left, int right, std::vector<int>& indices) {
    const auto at = [](int position) { return static_cast<std::size_t>(position); };
    const auto move = [&](int from, int to) {
        scores[at(to)] = scores[at(from)];
        indices[at(to)] = indices[at(from)];
    };
    const float key = scores[at(left)];
    const int keyIndex = indices[at(left)];
    int low = left;
    int high = right;
    while (low < high) {
        const int lowBefore = low;
        const int highBefore = high;
        while (low < high && scores[at(high)] <= key) {
            --high;
        }
        move(high, low);
        while (low < high && scores[at(low)] >= key) {
            ++low;
        }
        move(low, high);
        if (low == lowBefore && high == highBefore) {
            break;  // A NaN stops both scans for ever.
        }
    }
    scores[at(low)] = key;
    indices[at(low)] = keyIndex;
    return low;
}

}  // namespace

int sortDescending(std::vector<float>& scores, int left, int right, std::vector<int>& indices) {
    if (left >= right) {
        return left;
    }
    const int top = partition(scores, left, right, indices);
    // The ranges are independent, so a list of them replaces the recursion and no input exhausts the stack.
    std::vector<std::pair<int, int>> ranges = {{left, top - 1}, {top + 1, right}};
    while (!ranges.empty()) {
        const auto [first, last] = ranges.back();
        ranges.pop_back();
        if (first < last) {
            const int pivot = partition(scores, first, last, indices);
            ranges.emplace_back(first, pivot - 1);
            ranges.emplace_back(pivot + 1, last);
        }
    }
    return top;
}

float inclusiveOverlap(float xmin0, float ymin0, float xmax0, float ymax0, float xmin1, float ymin1,
                       float xmax1, float ymax1) {
    const auto shared = [](float min0, float max0, float min1, float max1) {
        const float difference = std::fmin(max0, max1) - std::fmax(min0, min1);
        return static_cast<float>(std::fmax(0.0, static_cast<double>(difference) + 1.0));
    };
    const auto area = [](float xmin, float ymin, float xmax, float ymax) {
        const float width = xmax - xmin;
        const float height = ymax - ymin;
        return (static_cast<double>(width) + 1.0) * (static_cast<double>(height) + 1.0);
    };
    const float intersection = shared(xmin0, xmax0, xmin1, xmax1) * shared(ymin0, ymax0, ymin1, ymax1);
    const auto unionArea =
        static_cast<float>(area(xmin0, ymin0, xmax0, ymax0) + area(xmin1, ymin1, xmax1, ymax1) -
                           static_cast<double>(intersection));
    if (unionArea <= 0.0F) {
        return 0.0F;
    }
    return intersection / unionArea;
}

namespace {

float overlap(const cv::Rect& a, const cv::Rect& b) {
    // Formed in 32 bits, which wrap around.
    const auto end = [](int start, int length) {
        return static_cast<float>(static_cast<std::int32_t>(static_cast<std::uint32_t>(start) +
                                                            static_cast<std::uint32_t>(length)));
    };
    return inclusiveOverlap(static_cast<float>(a.x), static_cast<float>(a.y), end(a.x, a.width),
                            end(a.y, a.height), static_cast<float>(b.x), static_cast<float>(b.y),
                            end(b.x, b.width), end(b.y, b.height));
}

}  // namespace

void suppressByIndex(int validCount, const std::vector<cv::Rect>& boxes, const std::vector<int>& classIds,
                     std::vector<int>& order, int classId, float threshold) {
    const auto isOther = [&](int candidate) {
        return candidate == -1 || classIds[static_cast<std::size_t>(candidate)] != classId;
    };
    for (int i = 0; i < validCount; ++i) {
        const int n = order[static_cast<std::size_t>(i)];
        if (isOther(n)) {
            continue;
        }
        for (int j = i + 1; j < validCount; ++j) {
            const int m = order[static_cast<std::size_t>(j)];
            if (isOther(m)) {
                continue;
            }
            if (overlap(boxes[static_cast<std::size_t>(n)], boxes[static_cast<std::size_t>(m)]) > threshold) {
                order[static_cast<std::size_t>(j)] = -1;
            }
        }
    }
}

}  // namespace brellix::reference
