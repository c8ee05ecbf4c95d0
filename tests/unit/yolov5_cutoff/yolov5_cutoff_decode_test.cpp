#include "brellix/quantization.h"
#include "brellix/yolov5_cutoff.h"
#include "support/fake_engine.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace {

using namespace ai_orvo::model;
using brellix::testing::FakeEngine;

/// A model of a 64 x 64 input with logits in steps of 0.0625 around 0 and an image of the same size.
class CutoffDecoding : public ::testing::Test {
  protected:
    static constexpr int kClasses = 2;
    static constexpr int kChannels = kClasses + 5;
    static constexpr int kGrid = 8;

    CutoffDecoding() : model_(makeModel(kClasses)) {
        FakeEngine::reset();
        model_->letterbox_info = {1.0F, 0.0F, 0.0F, 64.0F, 64.0F};
        output_.data->assign(3 * kChannels * kGrid * kGrid, -128);
        output_.zp = 0;
        output_.scale = 0.0625F;
    }

    static std::unique_ptr<YOLOv5Cutoff> makeModel(int classes) {
        return std::make_unique<YOLOv5Cutoff>("net", "RKNN", cv::Size(64, 64), 0.5F, 0.65F, classes);
    }

    /// Sets the channels of one anchor at one cell of head 0.
    void set(int anchor, int row, int column, const std::vector<int>& channels) {
        for (std::size_t k = 0; k < channels.size(); ++k) {
            const auto channel = static_cast<std::size_t>(anchor * kChannels) + k;
            output_.data->at(channel * kGrid * kGrid + static_cast<std::size_t>(row * kGrid + column)) =
                static_cast<std::int8_t>(channels[k]);
        }
    }

    std::vector<Object> decode(int expectedCount, int head = 0) {
        std::vector<Object> objects;
        EXPECT_EQ(model_->decodeBoxes(output_, head, objects), expectedCount);
        return objects;
    }

    std::unique_ptr<YOLOv5Cutoff> model_;
    AIBuff output_;
};

TEST_F(CutoffDecoding, NeutralOffsetsGiveTheAnchorInTheMiddleOfItsCell) {
    // All offsets 0: probability 0.5, so the centre is half a cell in and the size is the anchor's.
    set(2, 3, 4, {0, 0, 0, 0, 64, -64, 48});
    const auto objects = decode(1);
    ASSERT_EQ(objects.size(), 1U);
    // Centre (4.5, 3.5) * 8 = (36, 28), size 33 x 23: corner 19.5, 16.5.
    EXPECT_EQ(objects[0].rect, cv::Rect_<float>(19, 16, 33, 23));
    EXPECT_EQ(objects[0].label, 1);
    EXPECT_EQ(objects[0].prob, sigmoid(4.0F) * sigmoid(3.0F));
    EXPECT_TRUE(objects[0].mask.empty());
}

TEST_F(CutoffDecoding, MapsBackThroughTheLetterbox) {
    model_->letterbox_info = {2.0F, 4.0F, 8.0F, 96.0F, 112.0F};
    set(0, 3, 4, {0, 0, 0, 0, 64, 64, 0});
    // Centre (2 * (36 - 4), 2 * (28 - 8)) = (64, 40), size 20 x 26.
    EXPECT_EQ(decode(1).at(0).rect, cv::Rect_<float>(54, 27, 20, 26));
}

TEST_F(CutoffDecoding, CentreOutsideTheImageGivesHalfANegativeWidth) {
    model_->letterbox_info.dw = 30.0F;
    set(0, 0, 0, {0, 0, 0, 0, 64, 64, 0});
    EXPECT_EQ(decode(1).at(0).rect, cv::Rect_<float>(-5, -2, 10, 13));
}

TEST_F(CutoffDecoding, AZeroAreaImageClampsEverythingToZero) {
    model_->letterbox_info.src_width = 0.0F;
    model_->letterbox_info.src_height = 0.0F;
    set(0, 3, 4, {0, 0, 0, 0, 64, 64, 0});
    EXPECT_EQ(decode(1).at(0).rect, cv::Rect_<float>(0, 0, 0, 0));
}

TEST_F(CutoffDecoding, ObjectnessByteEqualToTheThresholdPasses) {
    // A threshold of 0.5 is the zero point itself.
    output_.zp = 5;
    set(0, 0, 0, {0, 0, 0, 0, 5, 64, 0});
    set(0, 0, 1, {0, 0, 0, 0, 4, 64, 0});
    EXPECT_EQ(decode(1).size(), 1U);
}

TEST_F(CutoffDecoding, ClassProbabilityEqualToTheThresholdIsRejectedButCounted) {
    set(0, 0, 0, {0, 0, 0, 0, 64, 0, -5});
    EXPECT_TRUE(decode(1).empty());
}

TEST_F(CutoffDecoding, ProductMayLieBelowTheThreshold) {
    set(0, 0, 0, {0, 0, 0, 0, 0, 1, -5});
    const auto objects = decode(1);
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_LT(objects[0].prob, 0.5F);
}

TEST_F(CutoffDecoding, EqualClassBytesKeepTheLowerIndex) {
    set(0, 0, 0, {0, 0, 0, 0, 64, 33, 33});
    EXPECT_EQ(decode(1).at(0).label, 0);
}

TEST_F(CutoffDecoding, ObjectsComeByAnchorRowColumn) {
    set(1, 0, 0, {0, 0, 0, 0, 64, 30, 0});
    set(0, 5, 0, {0, 0, 0, 0, 64, 31, 0});
    set(0, 2, 7, {0, 0, 0, 0, 64, 32, 0});
    const auto objects = decode(3);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[0].prob, sigmoid(4.0F) * sigmoid(2.0F));
    EXPECT_EQ(objects[2].prob, sigmoid(4.0F) * sigmoid(1.875F));
}

TEST_F(CutoffDecoding, ThresholdsOutsideTheProbabilitiesPreFilterWithZero) {
    model_->conf_thres = 2.0F;
    set(0, 0, 0, {0, 0, 0, 0, 0, 127, 0});
    set(0, 0, 1, {0, 0, 0, 0, -1, 127, 0});
    EXPECT_TRUE(decode(1).empty());
}

TEST_F(CutoffDecoding, ConfidenceZeroPassesEveryPosition) {
    model_->conf_thres = 0.0F;
    EXPECT_EQ(decode(3 * kGrid * kGrid).size(), 3U * kGrid * kGrid);
}

TEST_F(CutoffDecoding, HeadsOutsideTheThreeGiveNothing) {
    model_->conf_thres = 0.0F;
    for (const int head : {-1, 3, 100}) {
        EXPECT_TRUE(decode(0, head).empty());
    }
}

TEST_F(CutoffDecoding, ShortBuffersGiveNothing) {
    model_->conf_thres = 0.0F;
    output_.data->pop_back();
    EXPECT_TRUE(decode(0).empty());
    output_.data->clear();
    EXPECT_TRUE(decode(0).empty());
    output_.data = nullptr;
    EXPECT_TRUE(decode(0).empty());
}

TEST_F(CutoffDecoding, OneClassIsAlwaysClassZero) {
    model_ = makeModel(1);
    model_->letterbox_info = {1.0F, 0.0F, 0.0F, 64.0F, 64.0F};
    output_.data->assign(3 * 6 * kGrid * kGrid, 64);
    const auto objects = decode(3 * kGrid * kGrid);
    ASSERT_EQ(objects.size(), 3U * kGrid * kGrid);
    EXPECT_EQ(objects.back().label, 0);
}

TEST_F(CutoffDecoding, WithoutClassesTheLastAnchorHasNoClassChannel) {
    model_ = makeModel(0);
    output_.data->assign(3 * 5 * kGrid * kGrid, 64);
    EXPECT_EQ(decode(3 * kGrid * kGrid).size(), 2U * kGrid * kGrid);
}

TEST_F(CutoffDecoding, NegativeClassCountsGiveNothing) {
    for (const int classes : {-1, -5, -1000}) {
        model_ = makeModel(classes);
        model_->conf_thres = 0.0F;
        EXPECT_TRUE(decode(0).empty());
    }
}

TEST_F(CutoffDecoding, AScaleOfZeroOrNanStaysDefined) {
    set(0, 0, 0, {0, 0, 0, 0, 64, 64, 0});
    // The threshold's byte is 0 for each of them. Only the last makes the class more than one half.
    for (const float scale : {0.0F, std::numeric_limits<float>::quiet_NaN(), -1.0F}) {
        output_.scale = scale;
        EXPECT_TRUE(decode(1).empty()) << scale;
    }
    output_.scale = 1e38F;
    EXPECT_EQ(decode(1).size(), 1U);
}

}  // namespace
