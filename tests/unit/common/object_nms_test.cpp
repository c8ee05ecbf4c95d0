#include "brellix/nms.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using ai_orvo::model::iou;
using ai_orvo::model::nms;
using ai_orvo::model::Object;

constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

Object object(float x, float y, float width, float height, int label, float prob) {
    return {{x, y, width, height}, label, prob, cv::Mat()};
}

std::vector<float> probsOf(const std::vector<Object>& objects) {
    std::vector<float> probs;
    for (const Object& kept : objects) {
        probs.push_back(kept.prob);
    }
    return probs;
}

TEST(Iou, IdenticalBoxesOverlapCompletely) {
    EXPECT_EQ(iou({3, 4, 10, 20}, {3, 4, 10, 20}), 1.0F);
}

TEST(Iou, TouchingBoxesDoNotOverlap) {
    EXPECT_EQ(iou({0, 0, 10, 10}, {10, 0, 10, 10}), 0.0F);
    EXPECT_EQ(iou({0, 0, 10, 10}, {0, 10, 10, 10}), 0.0F);
}

TEST(Iou, CountsWholePixelsWithoutAnExtraOne) {
    // Intersection 5 x 10, union 100 + 100 - 50.
    EXPECT_EQ(iou({0, 0, 10, 10}, {5, 0, 10, 10}), 50.0F / 150.0F);
}

TEST(Iou, SumsAreasAsIntegersBeforeConverting) {
    // 16777217 has no float of its own: as floats the areas sum to 16777216 and the union is 16777215.
    EXPECT_EQ(iou({0, 0, 16777217, 1}, {0, 0, 1, 1}), 1.0F / 16777216.0F);
}

TEST(Iou, DegenerateBoxesHaveNoOverlap) {
    EXPECT_EQ(iou({5, 5, 0, 0}, {5, 5, 0, 0}), 0.0F);
    EXPECT_EQ(iou({5, 5, -3, 10}, {5, 5, -3, 10}), 0.0F);
    EXPECT_EQ(iou({0, 0, 10, 10}, {2, 2, 0, 5}), 0.0F);
}

TEST(Iou, ExtremeBoxesDoNotOverflow) {
    EXPECT_EQ(iou({0, 0, kIntMax, kIntMax}, {0, 0, kIntMax, kIntMax}), 1.0F);
    EXPECT_EQ(iou({kIntMin, kIntMin, kIntMin, kIntMin}, {kIntMin, kIntMin, kIntMin, kIntMin}), 0.0F);
    EXPECT_EQ(iou({kIntMax, 0, kIntMax, 10}, {kIntMin, 0, 10, 10}), 0.0F);
    EXPECT_GT(iou({kIntMax - 5, 0, 10, 10}, {kIntMax - 5, 0, 10, 10}), 0.99F);
}

TEST(ObjectNms, EmptyVectorStaysEmpty) {
    std::vector<Object> objects;
    nms(objects, 0.5F);
    EXPECT_TRUE(objects.empty());
}

TEST(ObjectNms, SuppressesOnlyAboveTheThreshold) {
    const std::vector<Object> twins = {object(0, 0, 10, 10, 1, 0.5F), object(0, 0, 10, 10, 1, 0.9F)};
    std::vector<Object> objects = twins;
    nms(objects, 0.99F);
    EXPECT_EQ(probsOf(objects), (std::vector<float>{0.9F}));

    objects = twins;
    nms(objects, 1.0F);
    EXPECT_EQ(probsOf(objects), (std::vector<float>{0.9F, 0.5F}));

    objects = {object(0, 0, 10, 10, 1, 0.5F), object(5, 0, 10, 10, 1, 0.9F)};
    nms(objects, 50.0F / 150.0F);
    EXPECT_EQ(objects.size(), 2U);
}

TEST(ObjectNms, NegativeThresholdSuppressesDisjointBoxesToo) {
    std::vector<Object> objects = {object(0, 0, 10, 10, 1, 0.5F), object(500, 0, 10, 10, 1, 0.9F),
                                   object(500, 0, 10, 10, 2, 0.1F)};
    nms(objects, -0.1F);
    EXPECT_EQ(probsOf(objects), (std::vector<float>{0.9F, 0.1F}));
}

TEST(ObjectNms, DifferentLabelsNeverSuppressEachOther) {
    std::vector<Object> objects = {object(0, 0, 10, 10, 2, 0.9F), object(0, 0, 10, 10, 1, 0.5F)};
    nms(objects, 0.1F);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0].label, 1);
    EXPECT_EQ(objects[1].label, 2);
}

TEST(ObjectNms, LabelsAscendWithNegativesFirst) {
    std::vector<Object> objects = {object(0, 0, 1, 1, 3, 0.1F), object(50, 0, 1, 1, -1, 0.2F),
                                   object(90, 0, 1, 1, 0, 0.3F), object(99, 9, 1, 1, -1, 0.4F)};
    nms(objects, 0.5F);
    EXPECT_EQ(probsOf(objects), (std::vector<float>{0.4F, 0.2F, 0.3F, 0.1F}));
}

TEST(ObjectNms, BoxesAreRoundedToNearestWithTiesToEven) {
    // 0.5 rounds to 0, 1.5 to 2: widths 10.5 and 11.5 become 10 and 12.
    std::vector<Object> objects = {object(0.5F, 0, 10.5F, 10, 0, 0.9F), object(0, 0, 11.5F, 10, 0, 0.8F)};
    nms(objects, 100.0F / 120.0F);
    EXPECT_EQ(objects.size(), 2U);
    objects = {object(0.5F, 0, 10.5F, 10, 0, 0.9F), object(0, 0, 11.5F, 10, 0, 0.8F)};
    nms(objects, std::nextafter(100.0F / 120.0F, 0.0F));
    EXPECT_EQ(objects.size(), 1U);
}

TEST(ObjectNms, ASuppressedObjectSuppressesNothing) {
    // b falls to a; c overlaps b but not a and stays.
    std::vector<Object> objects = {object(0, 0, 10, 10, 0, 0.9F), object(4, 0, 10, 10, 0, 0.8F),
                                   object(8, 0, 10, 10, 0, 0.7F)};
    nms(objects, 0.4F);
    EXPECT_EQ(probsOf(objects), (std::vector<float>{0.9F, 0.7F}));
}

TEST(ObjectNms, NanProbabilitiesComeLast) {
    std::vector<Object> objects;
    for (int i = 0; i < 40; ++i) {
        objects.push_back(object(static_cast<float>(20 * i), 0, 10, 10, 0,
                                 i % 2 == 0 ? kNaN : 0.01F * static_cast<float>(i)));
    }
    nms(objects, 0.5F);
    ASSERT_EQ(objects.size(), 40U);
    EXPECT_EQ(objects[0].prob, 0.39F);
    EXPECT_EQ(objects[19].prob, 0.01F);
    for (std::size_t i = 20; i < 40; ++i) {
        EXPECT_TRUE(std::isnan(objects[i].prob));
    }
}

TEST(ObjectNms, ExtremeAndNanRectanglesAreHandled) {
    const float huge = std::numeric_limits<float>::max();
    std::vector<Object> objects = {
        object(kNaN, kNaN, kNaN, kNaN, 0, 0.9F), object(-huge, -huge, huge, huge, 0, 0.8F),
        object(huge, huge, huge, huge, 0, 0.7F), object(0, 0, -huge, -huge, 0, 0.6F)};
    nms(objects, 0.5F);
    EXPECT_EQ(objects.size(), 4U);
}

TEST(ObjectNms, KeptObjectsKeepTheirMask) {
    std::vector<Object> objects = {object(0, 0, 10, 10, 0, 0.9F)};
    objects[0].mask = cv::Mat(3, 3, CV_8U, cv::Scalar(255));
    nms(objects, 0.5F);
    EXPECT_EQ(objects[0].mask.size(), cv::Size(3, 3));
}

}  // namespace
