#include "brellix/nms.h"
#include "common/numeric.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace ai_orvo::model {
namespace {

/// Scores and the indices that travel with them.
struct SortedPair {
    float* scores;
    int* indices;

    void move(int to, int from) const {
        scores[to] = scores[from];
        indices[to] = indices[from];
    }
};

/// Splits `left..right` around its first element. \return where that element ends.
int partition(const SortedPair& data, int left, int right) {
    const float key = data.scores[left];
    const int keyIndex = data.indices[left];
    int low = left;
    int high = right;
    while (low < high) {
        const int lowBefore = low;
        const int highBefore = high;
        while (low < high && data.scores[high] <= key) {
            --high;
        }
        data.move(low, high);
        while (low < high && data.scores[low] >= key) {
            ++low;
        }
        data.move(high, low);
        // A NaN stops both scans where they stand; no other score does.
        if (low == lowBefore && high == highBefore) {
            break;
        }
    }
    data.scores[low] = key;
    data.indices[low] = keyIndex;
    return low;
}

/// Whether the partition would leave the scores as they are, one pivot after the other.
bool isDescending(const float* first, const float* last) {
    return std::adjacent_find(first, last, [](float earlier, float later) { return !(later <= earlier); }) ==
           last;
}

/// Descends into the smaller part only, so that ordered or equal scores cannot exhaust the stack.
void sortDescending(const SortedPair& data, int left, int right) {
    while (left < right) {
        if (isDescending(data.scores + left, data.scores + right + 1)) {
            return;
        }
        const int middle = partition(data, left, right);
        if (middle - left < right - middle) {
            sortDescending(data, left, middle - 1);
            left = middle + 1;
        } else {
            sortDescending(data, middle + 1, right);
            right = middle - 1;
        }
    }
}

/// The candidate at a position of the order, or -1 where it is suppressed, unknown or of another class.
int candidateOf(const std::vector<int>& order, int position, const std::vector<int>& classIds,
                std::size_t count, int classId) {
    const int candidate = order[static_cast<std::size_t>(position)];
    const bool known = candidate >= 0 && static_cast<std::size_t>(candidate) < count;
    return known && classIds[static_cast<std::size_t>(candidate)] == classId ? candidate : -1;
}

float overlapOf(const cv::Rect_<int>& a, const cv::Rect_<int>& b) {
    const auto end = [](int start, int length) { return static_cast<float>(wrappingSum(start, length)); };
    return CalculateOverlap(static_cast<float>(a.x), static_cast<float>(a.y), end(a.x, a.width),
                            end(a.y, a.height), static_cast<float>(b.x), static_cast<float>(b.y),
                            end(b.x, b.width), end(b.y, b.height));
}

}  // namespace

int quickSortIndiceInverse(std::vector<float>& input, int left, int right, std::vector<int>& indices) {
    const auto size = static_cast<std::int64_t>(std::min(input.size(), indices.size()));
    if (left >= right || left < 0 || right >= size) {
        return left;
    }
    const SortedPair data{input.data(), indices.data()};
    const int pivot = partition(data, left, right);
    sortDescending(data, left, pivot - 1);
    sortDescending(data, pivot + 1, right);
    return pivot;
}

float CalculateOverlap(float xmin0, float ymin0, float xmax0, float ymax0, float xmin1, float ymin1,
                       float xmax1, float ymax1) {
    // Differences in single, the inclusive pixel and all that follows in double precision.
    const auto inclusive = [](float difference) { return static_cast<double>(difference) + 1.0; };
    const auto width =
        static_cast<float>(std::fmax(0.0, inclusive(std::fmin(xmax0, xmax1) - std::fmax(xmin0, xmin1))));
    const auto height =
        static_cast<float>(std::fmax(0.0, inclusive(std::fmin(ymax0, ymax1) - std::fmax(ymin0, ymin1))));
    const float intersection = width * height;
    const auto unionArea = static_cast<float>(inclusive(xmax0 - xmin0) * inclusive(ymax0 - ymin0) +
                                              inclusive(xmax1 - xmin1) * inclusive(ymax1 - ymin1) -
                                              static_cast<double>(intersection));
    return unionArea <= 0.0F ? 0.0F : intersection / unionArea;
}

void nms(int validCount, std::vector<cv::Rect_<int>>& boxes, std::vector<int> classIds,
         std::vector<int>& order, int classId, float threshold) {
    const std::size_t candidates = std::min(boxes.size(), classIds.size());
    const auto positions = static_cast<int>(
        std::min<std::size_t>(order.size(), static_cast<std::size_t>(std::max(validCount, 0))));
    for (int i = 0; i < positions; ++i) {
        const int keeper = candidateOf(order, i, classIds, candidates, classId);
        if (keeper < 0) {
            continue;
        }
        for (int j = i + 1; j < positions; ++j) {
            const int other = candidateOf(order, j, classIds, candidates, classId);
            if (other >= 0 && overlapOf(boxes[static_cast<std::size_t>(keeper)],
                                        boxes[static_cast<std::size_t>(other)]) > threshold) {
                order[static_cast<std::size_t>(j)] = -1;
            }
        }
    }
}

}  // namespace ai_orvo::model
