#include "brellix/nms.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <utility>
#include <vector>

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

/// Sorts `left..right` where no two scores are equal: then every way leads to the same order, and one is
/// quick for every input. \return whether it was so; nothing has changed otherwise.
bool sortDistinct(const SortedPair& data, int left, int right) {
    std::vector<std::pair<float, int>> pairs;
    pairs.reserve(static_cast<std::size_t>(right - left) + 1);
    for (int i = left; i <= right; ++i) {
        // NaN has no place in an order.
        if (std::isnan(data.scores[i])) {
            return false;
        }
        pairs.emplace_back(data.scores[i], data.indices[i]);
    }
    std::sort(pairs.begin(), pairs.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    const auto areEqual = [](const auto& a, const auto& b) { return a.first == b.first; };
    if (std::adjacent_find(pairs.begin(), pairs.end(), areEqual) != pairs.end()) {
        return false;
    }
    for (int i = left; i <= right; ++i) {
        std::tie(data.scores[i], data.indices[i]) = pairs[static_cast<std::size_t>(i - left)];
    }
    return true;
}

/// How many partitions a range of `count` scores may take before it counts as one that the partition splits
/// badly, as it does with rising scores.
int partitionsExpected(int count) {
    int levels = 1;
    while (count > 1) {
        count /= 2;
        ++levels;
    }
    return 2 * levels;
}

/// Descends into the smaller part only, so that ordered or equal scores cannot exhaust the stack.
void sortDescending(const SortedPair& data, int left, int right) {
    int partitionsLeft = partitionsExpected(right - left + 1);
    while (left < right) {
        if (isDescending(data.scores + left, data.scores + right + 1)) {
            return;
        }
        if (partitionsLeft-- == 0 && sortDistinct(data, left, right)) {
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

}  // namespace ai_orvo::model
