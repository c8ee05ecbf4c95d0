// Index sort, inclusive overlap and suppression on indices against the references: any scores, ranges, orders
// that name no candidate, class lists that are too short. Capped: 120 scores, 80 candidates.

#include "reference/index_nms.h"
#include "support/comparison.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"

#include "brellix/nms.h"

#include <array>
#include <cmath>
#include <numeric>
#include <vector>

namespace brellix::fuzz {
namespace {

void compareSorting(FuzzedData& data) {
    std::vector<float> scores(static_cast<std::size_t>(data.integer(0, 120)));
    const int levels = data.oneOf({1, 3, 255});
    for (float& score : scores) {
        score = data.byte() < 240 ? static_cast<float>(data.integer(0, levels)) : data.number();
    }
    const int last = static_cast<int>(scores.size()) - 1;
    const bool isWhole = data.flag();
    const int left = isWhole ? 0 : data.integer(0, 120);
    const int right = isWhole ? last : data.integer(-1, 120);
    std::vector<int> indices(scores.size());
    std::iota(indices.begin(), indices.end(), 0);
    std::vector<float> expected = scores;
    std::vector<int> expectedIndices = indices;
    const int pivot = ai_orvo::model::quickSortIndiceInverse(scores, left, right, indices);
    if (left >= right || right > last) {
        require(pivot == left && indices == expectedIndices, "a range that is none");
        return;
    }
    require(pivot == reference::sortDescending(expected, left, right, expectedIndices), "first pivot");
    require(indices == expectedIndices, "order of the indices");
    require(testing::sameFloats(scores, expected), "order of the scores");
}

void compareOverlap(FuzzedData& data) {
    std::array<float, 8> c{};
    for (float& value : c) {
        value = data.oddNumber(-20.0F, 20.0F);
    }
    const float actual = ai_orvo::model::CalculateOverlap(c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]);
    const float expected = reference::inclusiveOverlap(c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]);
    // Zeros of both signs are the same overlap.
    require(actual == expected || (std::isnan(actual) && std::isnan(expected)), "overlap");
}

void compareSuppression(FuzzedData& data) {
    const int count = data.integer(0, 80);
    std::vector<cv::Rect> boxes;
    std::vector<int> classIds;
    std::vector<int> order;
    for (int i = 0; i < count; ++i) {
        const int x = data.oddInteger(0, 20);
        const int y = data.oddInteger(0, 20);
        const int width = data.oddInteger(-2, 30);
        boxes.emplace_back(x, y, width, data.oddInteger(0, 30));
        classIds.push_back(data.oddInteger(0, 2));
        order.push_back(data.byte() < 224 ? data.integer(0, count - 1) : -1);
    }
    std::vector<int> expected = order;
    const int validCount = data.byte() < 224 ? count : data.integer(-1, count);
    const int classId = data.oddInteger(0, 2);
    const float threshold = data.oddNumber(0.0F, 1.0F);
    ai_orvo::model::nms(validCount, boxes, classIds, order, classId, threshold);
    reference::suppressByIndex(validCount, boxes, classIds, expected, classId, threshold);
    require(order == expected, "suppression");
}

/// Lists that do not belong together: nothing to compare with, but nothing may happen.
void tryLooseLists(FuzzedData& data) {
    const auto length = [&data] { return static_cast<std::size_t>(data.integer(0, 9)); };
    std::vector<cv::Rect> boxes(length(), cv::Rect(0, 0, 5, 5));
    const std::vector<int> classIds(length(), 0);
    std::vector<int> order(length());
    for (int& entry : order) {
        entry = data.oddInteger(-1, 9);
    }
    ai_orvo::model::nms(data.oddInteger(0, 9), boxes, classIds, order, 0, 0.5F);
    std::vector<float> scores(length(), 0.5F);
    ai_orvo::model::quickSortIndiceInverse(scores, data.oddInteger(0, 9), data.oddInteger(0, 9), order);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedData data(bytes, size);
    compareOverlap(data);
    compareSorting(data);
    compareSuppression(data);
    tryLooseLists(data);
    return 0;
}

}  // namespace brellix::fuzz
