// The references of segmentation against values worked out by hand.

#include "reference/dfl.h"
#include "reference/index_nms.h"
#include "reference/quantization.h"
#include "reference/seg_boxes.h"
#include "reference/seg_objects.h"
#include "reference/seg_prototypes.h"
#include "support/tensor_values.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <vector>

namespace brellix::reference {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::LetterboxInfo;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;
using testing::floatTensor;
using testing::int8Tensor;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST(ReferenceDfl, GivesTheExpectedBin) {
    float out[4] = {-1, -1, -1, -1};
    computeDfl(std::vector<float>(64, 0.0F), 16, out);
    EXPECT_EQ(out[0], 7.5F);
    EXPECT_EQ(out[3], 7.5F);
    computeDfl({0, 80, 80, 0, 0, 0, 100, 0}, 2, out);
    EXPECT_EQ(out[0], 1.0F);
    EXPECT_EQ(out[1], 1.0F / std::exp(80.0F));
    EXPECT_EQ(out[2], 0.5F);
    EXPECT_TRUE(std::isnan(out[3]));
    EXPECT_THROW(computeDfl({0, 0}, 1, out), std::out_of_range);
    out[0] = -7.0F;
    computeDfl({}, 0, out);
    EXPECT_EQ(out[0], -7.0F);
}

TEST(ReferenceSegBoxes, TakesTheWidthFromTheClampedFloats) {
    // left 0, top 0, right 1, bottom 1: with stride 3 the box reaches from 1.5 to 4.5 network pixels.
    const AIBuff box = floatTensor({80, 0, 80, 0, 0, 80, 0, 80});
    const AIBuff score = floatTensor({0.5F, 2.0F, 2.0F});
    const AIBuff coef = floatTensor({-0.25F});
    const SegHead head{box, score, coef, 1, 1, 3, 2, 3, 1};
    const LetterboxInfo info{1.3F, 1.5F - 3.6F / 1.3F, 0.0F, 4.0F, 100.0F};
    SegCandidates candidates;
    ASSERT_EQ(decodeSegHeadFloat(head, info, 0.5F, candidates), 1);
    EXPECT_EQ(candidates.boxes[0], cv::Rect(3, 1, 3, 2));  // x 3.6 to 7.5, y 1.95 to 4 instead of 5.85
    EXPECT_EQ(candidates.classIds[0], 1);
    EXPECT_EQ(candidates.scores[0], sigmoid(2.0F));
    EXPECT_EQ(candidates.maskCoefs, std::vector<float>{-0.25F});
    EXPECT_EQ(decodeSegHeadFloat(head, info, sigmoid(2.5F), candidates), 0);
}

TEST(ReferenceSegBoxes, NoClassMeansNoCandidate) {
    const AIBuff box = floatTensor({0, 0, 0, 0});
    const AIBuff score = floatTensor({kNan, -kInf});
    const AIBuff coef = floatTensor({});
    const LetterboxInfo info{1.0F, 0.0F, 0.0F, 9.0F, 9.0F};
    SegCandidates candidates;
    EXPECT_EQ(decodeSegHeadFloat({box, score, coef, 1, 1, 8, 1, 2, 0}, info, 0.0F, candidates), 0);
    EXPECT_EQ(decodeSegHeadFloat({box, score, coef, 0, 1, 8, 1, 2, 0}, info, 0.0F, candidates), 0);
    EXPECT_EQ(decodeSegHeadFloat({box, score, coef, 1, 1, 8, 1, 0, 0}, info, -1.0F, candidates), 0);
    EXPECT_EQ(decodeSegHeadFloat({box, score, coef, 1, 2, 8, 1, 2, 0}, info, 0.0F, candidates), 0);
}

TEST(ReferenceSegBoxes, Int8CoefficientsWrapAround) {
    const AIBuff box = int8Tensor({0, 0, 0, 0}, 0, 1.0F);
    const AIBuff score = int8Tensor({5, 4}, 4, 0.5F);
    const AIBuff coef = int8Tensor({127, -128}, -128, 3.0F);
    const LetterboxInfo info{1.0F, 0.0F, 0.0F, 9.0F, 9.0F};
    SegCandidates candidates;
    ASSERT_EQ(decodeSegHeadInt8({box, score, coef, 1, 1, 8, 1, 2, 2}, info, 0.5F, candidates), 1);
    EXPECT_EQ(candidates.boxes[0], cv::Rect(4, 4, 0, 0));
    EXPECT_EQ(candidates.scores[0], sigmoid(0.5F));
    EXPECT_EQ(candidates.classIds[0], 0);
    EXPECT_EQ(candidates.maskCoefs, (std::vector<float>{-1.0F, 0.0F}));
    // Outside 0..1 the threshold is the byte 0, not nothing.
    EXPECT_EQ(decodeSegHeadInt8({box, score, coef, 1, 1, 8, 1, 2, 2}, info, 2.0F, candidates), 1);
}

TEST(ReferenceSegPrototypes, BytesDoNotWrapAround) {
    const cv::Mat matrix = prototypesFromInt8(int8Tensor({127, -128}, -128, 3.0F), 1, 1, 3);
    ASSERT_EQ(matrix.size(), cv::Size(3, 1));
    EXPECT_EQ(matrix.at<float>(0, 0), 255.0F);
    EXPECT_EQ(matrix.at<float>(0, 1), 0.0F);
    EXPECT_EQ(matrix.at<float>(0, 2), 0.0F);
    EXPECT_EQ(prototypesFromFloat(floatTensor({1, 2, 3, 4}), 2, 1, 2).at<float>(1, 0), 3.0F);
}

TEST(ReferenceIndexNms, SortsWithThePartitionAsItIs) {
    std::vector<float> scores = {0.5F, 0.9F, 0.7F};
    std::vector<int> indices = {0, 1, 2};
    EXPECT_EQ(sortDescending(scores, 0, 2, indices), 2);
    EXPECT_EQ(scores, (std::vector<float>{0.9F, 0.7F, 0.5F}));
    EXPECT_EQ(indices, (std::vector<int>{1, 2, 0}));

    scores = {0.5F, 0.9F, 0.5F, 0.9F, 0.7F};
    indices = {0, 1, 2, 3, 4};
    sortDescending(scores, 0, 4, indices);
    EXPECT_EQ(indices, (std::vector<int>{3, 1, 4, 2, 0}));

    EXPECT_EQ(sortDescending(scores, 3, 3, indices), 3);
    EXPECT_EQ(sortDescending(scores, 0, -1, indices), 0);
    scores = {1.0F, kNan, 2.0F, kNan};
    indices = {0, 1, 2, 3};
    sortDescending(scores, 0, 3, indices);
    EXPECT_TRUE(std::is_permutation(indices.begin(), indices.end(), std::vector<int>{0, 1, 2, 3}.begin()));
}

TEST(ReferenceIndexNms, CountsTheExtraPixel) {
    EXPECT_EQ(inclusiveOverlap(0, 0, 9, 9, 0, 0, 9, 9), 1.0F);
    EXPECT_EQ(inclusiveOverlap(0, 0, 9, 9, 9, 0, 18, 9), 10.0F / 190.0F);
    EXPECT_EQ(inclusiveOverlap(0, 0, -1, -1, 0, 0, -1, -1), 0.0F);
    EXPECT_EQ(inclusiveOverlap(0, 0, 9, 9, 20, 20, 29, 29), 0.0F);
}

TEST(ReferenceIndexNms, SuppressesLaterOnesOfTheClass) {
    const std::vector<cv::Rect> boxes = {{0, 0, 10, 10}, {0, 0, 10, 10}, {0, 0, 10, 10}};
    const std::vector<int> classes = {4, 5, 4};
    std::vector<int> order = {2, 1, 0};
    suppressByIndex(3, boxes, classes, order, 4, 1.0F);
    EXPECT_EQ(order, (std::vector<int>{2, 1, 0}));
    suppressByIndex(3, boxes, classes, order, 4, 0.99F);
    EXPECT_EQ(order, (std::vector<int>{2, 1, -1}));
    suppressByIndex(-1, boxes, classes, order, 5, -1.0F);
    EXPECT_EQ(order, (std::vector<int>{2, 1, -1}));
}

TEST(ReferenceIndexNms, EdgesWrapAroundIn32Bits) {
    const int last = std::numeric_limits<int>::max();
    const std::vector<cv::Rect> boxes = {{last - 4, 0, 9, 9}, {last - 4, 0, 9, 9}};
    std::vector<int> order = {0, 1};
    suppressByIndex(2, boxes, {0, 0}, order, 0, 0.0F);
    EXPECT_EQ(order, (std::vector<int>{0, 1}));
}

/// A network input of 32 x 32 where only the one cell of head 2 holds a candidate: the whole picture.
SegSettings tinySeg() {
    SegSettings settings;
    settings.inputSize = {32, 32};
    settings.letterbox = {1.0F, 0.0F, 0.0F, 32.0F, 32.0F};
    settings.protoWidth = 8;
    settings.protoHeight = 8;
    settings.maskCoefCount = 1;
    settings.classNum = 1;
    settings.dflLen = 2;
    settings.grids = {cv::Size(4, 4), cv::Size(2, 2), cv::Size(1, 1)};
    return settings;
}

TensorMap tinySegOutputs() {
    TensorMap outputs;
    outputs["output6"] = floatTensor(std::vector<float>(8, 0.0F));
    outputs["output7"] = floatTensor({3.0F});
    outputs["output8"] = floatTensor({1.0F});
    std::vector<float> proto;
    for (int row = 0; row < 8; ++row) {
        for (int column = 0; column < 8; ++column) {
            proto.push_back(column < 4 ? 1.0F : -1.0F);
        }
    }
    outputs["proto"] = floatTensor(proto);
    return outputs;
}

TEST(ReferenceSegObjects, CutsTheMaskFromThePrototypes) {
    TensorMap outputs = tinySegOutputs();
    std::vector<Object> objects;
    detectSeg(tinySeg(), outputs, objects);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].rect, cv::Rect_<float>(0, 0, 32, 32));
    EXPECT_EQ(objects[0].label, 0);
    EXPECT_EQ(objects[0].prob, sigmoid(3.0F));
    ASSERT_EQ(objects[0].mask.size(), cv::Size(32, 32));
    ASSERT_EQ(objects[0].mask.type(), CV_8UC1);
    EXPECT_EQ(cv::countNonZero(objects[0].mask), 32 * 16);
    EXPECT_EQ(objects[0].mask.at<std::uint8_t>(31, 15), 255);
    EXPECT_EQ(objects[0].mask.at<std::uint8_t>(0, 16), 0);
    EXPECT_EQ(outputs.size(), 10U);
}

TEST(ReferenceSegObjects, LeavesOutTheBorderOfTheLetterbox) {
    // A picture of 32 x 16, padded above and below by 8 network pixels, which are 2 rows of the prototypes.
    SegSettings settings = tinySeg();
    settings.letterbox = {1.0F, 0.0F, 8.0F, 16.0F, 32.0F};
    TensorMap outputs = tinySegOutputs();
    std::vector<float> proto(64, 1.0F);
    std::fill(proto.begin(), proto.begin() + 16, -1.0F);
    outputs["proto"] = floatTensor(proto);
    std::vector<Object> objects;
    detectSeg(settings, outputs, objects);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_EQ(objects[0].rect, cv::Rect_<float>(0, 0, 32, 16));
    EXPECT_EQ(cv::countNonZero(objects[0].mask), 32 * 16);
}

TEST(ReferenceSegObjects, MostInputsThatAreNotSquareThrowOnceThereIsAnObject) {
    SegSettings settings = tinySeg();
    settings.inputSize = {64, 32};
    settings.protoWidth = 16;
    TensorMap outputs = tinySegOutputs();
    std::vector<Object> objects;
    EXPECT_THROW(detectSeg(settings, outputs, objects), cv::Exception);
    outputs["output7"] = floatTensor({-3.0F});
    objects.clear();
    detectSeg(settings, outputs, objects);
    EXPECT_TRUE(objects.empty());
}

}  // namespace
}  // namespace brellix::reference
