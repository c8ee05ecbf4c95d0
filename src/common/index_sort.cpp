#include "brellix/nms.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace ai_orvo::model {
namespace {

/// Scores and the indices that travel with them.
struct ScoredIndices {
    float* scores;
    int* indices;

    void move(int to, int from) const {
        scores[to] = scores[from];
        indices[to] = indices[from];
    }
};

/// Splits `left..right` around its first element. \return where that element ends.
int partition(const ScoredIndices& data, int left, int right) {
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

/// Whether each score is above the one before: the order that the partition splits worst. No two are equal
/// then, so that turning the range around leads where it does.
bool isRising(const float* first, const float* last) {
    return std::adjacent_find(first, last, [](float earlier, float later) { return !(later > earlier); }) ==
           last;
}

/// Descends into the smaller part only, so that ordered or equal scores cannot exhaust the stack.
void sortDescending(const ScoredIndices& data, int left, int right) {
    while (left < right) {
        float* const scores = data.scores + left;
        float* const scoresEnd = data.scores + right + 1;
        if (isDescending(scores, scoresEnd)) {
            return;
        }
        if (isRising(scores, scoresEnd)) {
            std::reverse(scores, scoresEnd);
            std::reverse(data.indices + left, data.indices + right + 1);
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
    const ScoredIndices data{input.data(), indices.data()};
    const int pivot = partition(data, left, right);
    sortDescending(data, pivot + 1, right);
    sortDescending(data, left, pivot - 1);
    return pivot;
}

}  // namespace ai_orvo::model
