// Overlap, sorting and both suppressions.

#include "identity/record.h"
#include "identity/seeded.h"

#include "brellix/nms.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace brellix::testing {
namespace {

namespace model = ai_orvo::model;

cv::Rect randomBox(Seeded& seeded) {
    cv::Rect box;
    box.x = seeded.integer(-20, 300);
    box.y = seeded.integer(-20, 300);
    box.width = seeded.integer(-2, 200);
    box.height = seeded.integer(-2, 200);
    return box;
}

/// Scores of which many are equal where `levels` is small.
std::vector<float> randomScores(Seeded& seeded, int count, int levels) {
    std::vector<float> scores;
    for (int i = 0; i < count; ++i) {
        scores.push_back(static_cast<float>(seeded.integer(0, levels)) / static_cast<float>(levels));
    }
    return scores;
}

TEST(SuppressionIdentity, Overlap) {
    Seeded seeded(51);
    Digest digest;
    for (int i = 0; i < 20000; ++i) {
        const cv::Rect a = randomBox(seeded);
        const cv::Rect b = randomBox(seeded);
        digest.add(model::iou(a, b));
        const std::vector<float> c = seeded.reals(8, -10.0F, 300.0F);
        digest.add(model::CalculateOverlap(c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]));
    }
    EXPECT_TRUE(Record::instance().agrees("suppression.overlap", digest));
}

TEST(SuppressionIdentity, Objects) {
    Seeded seeded(52);
    Digest digest;
    std::size_t kept = 0;
    for (int i = 0; i < 300; ++i) {
        const int count = seeded.integer(0, 120);
        const std::vector<float> scores = randomScores(seeded, count, seeded.oneOf({1, 5, 1000000}));
        std::vector<model::Object> objects(scores.size());
        for (std::size_t k = 0; k < objects.size(); ++k) {
            const std::vector<float> box = seeded.reals(4, 0.0F, 200.0F);
            objects[k].rect = {box[0], box[1], box[2], box[3]};
            objects[k].prob = seeded.oneIn(50) ? seeded.hostile() : scores[k];
            objects[k].label = seeded.integer(0, 3);
        }
        model::nms(objects, seeded.oneOf({-0.1F, 0.0F, 0.3F, 0.5F, 1.0F}));
        digest.add(objects);
        kept += objects.size();
    }
    EXPECT_GT(kept, 3000U);
    EXPECT_TRUE(Record::instance().agrees("suppression.objects", digest));
}

TEST(SuppressionIdentity, Indices) {
    Seeded seeded(53);
    Digest digest;
    for (int i = 0; i < 300; ++i) {
        const int count = seeded.integer(1, 150);
        std::vector<float> scores = randomScores(seeded, count, seeded.oneOf({1, 5, 1000000}));
        std::vector<int> order(scores.size());
        std::iota(order.begin(), order.end(), 0);
        digest.add(model::quickSortIndiceInverse(scores, 0, count - 1, order));
        digest.add(scores);
        std::vector<cv::Rect> boxes;
        std::vector<int> classIds;
        for (int k = 0; k < count; ++k) {
            boxes.push_back(randomBox(seeded));
            classIds.push_back(seeded.integer(0, 2));
        }
        for (int classId = 0; classId < 3; ++classId) {
            model::nms(count, boxes, classIds, order, classId, 0.45F);
        }
        digest.add(order);
    }
    EXPECT_TRUE(Record::instance().agrees("suppression.indices", digest));
}

}  // namespace
}  // namespace brellix::testing
