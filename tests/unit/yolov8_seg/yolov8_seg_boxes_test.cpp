#include "brellix/quantization.h"
#include "brellix/yolov8_seg.h"
#include "support/tensor_values.h"
#include "yolov8_seg/seg_fixture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace ai_orvo::model;
using brellix::testing::floatTensor;
using brellix::testing::makeSegModel;

/// One head of 2 x 2 cells, stride 8, two bins a side, one mask coefficient.
struct Head {
    AIBuff box, score, maskCoef;
    int gridH = 2;
    int gridW = 2;
    int dflLen = 2;
};

struct Candidates {
    int count;
    std::vector<cv::Rect_<int>> boxes;
    std::vector<float> maskCoefs;
    std::vector<float> scores;
    std::vector<int> classIds;
};

class SegBoxes : public ::testing::Test {
  protected:
    SegBoxes() : model_(makeSegModel()) {
        model_->maskCoefCount = 1;
        head_.box = floatTensor(std::vector<float>(4 * 2 * 4, 0.0F));
        head_.score = floatTensor(std::vector<float>(2 * 4, -20.0F));
        head_.maskCoef = floatTensor({1.0F, 2.0F, 3.0F, 4.0F});
    }

    void setScore(std::size_t label, std::size_t cell, float logit) {
        brellix::testing::setFloat(head_.score, label * 4 + cell, logit);
    }

    Candidates decode(float threshold = 0.5F) {
        Candidates found{};
        found.count = model_->decodeBoxes_fp32(head_.box, head_.score, head_.maskCoef, head_.gridH,
                                               head_.gridW, -1, -1, 8, head_.dflLen, found.boxes,
                                               found.maskCoefs, found.scores, found.classIds, threshold);
        return found;
    }

    std::unique_ptr<YOLOv8Seg> model_;
    Head head_;
};

TEST_F(SegBoxes, BoxesAreInSourcePixels) {
    setScore(1, 3, 2.0F);
    const Candidates found = decode();
    ASSERT_EQ(found.count, 1);
    // Cell (1, 1), half a cell to each side: from (1 - 0.5 + 0.5) * 8 to (1 + 0.5 + 0.5) * 8.
    EXPECT_EQ(found.boxes.at(0), cv::Rect(8, 8, 8, 8));
    EXPECT_EQ(found.scores.at(0), sigmoid(2.0F));
    EXPECT_EQ(found.classIds.at(0), 1);
    EXPECT_EQ(found.maskCoefs, std::vector<float>{4.0F});
}

TEST_F(SegBoxes, LetterboxIsTakenBack) {
    model_->letterboxInfo = {2.0F, 3.0F, 1.0F, 64.0F, 64.0F};
    setScore(0, 3, 2.0F);
    EXPECT_EQ(decode().boxes.at(0), cv::Rect(10, 14, 16, 16));
}

TEST_F(SegBoxes, SizeComesFromTheEdgesBeforeTruncation) {
    // The left edge is 8 - 4.4, the image ends at 7.5: 3.6 to 7.5 is 3 wide although 7 - 3 is 4.
    model_->letterboxInfo = {1.0F, 4.4F, 4.4F, 7.5F, 7.5F};
    setScore(0, 3, 2.0F);
    EXPECT_EQ(decode().boxes.at(0), cv::Rect(3, 3, 3, 3));
}

TEST_F(SegBoxes, BoxesAreCutAtTheImage) {
    model_->letterboxInfo.src_width = 12.0F;
    model_->letterboxInfo.src_height = 10.0F;
    setScore(0, 3, 2.0F);
    EXPECT_EQ(decode().boxes.at(0), cv::Rect(8, 8, 4, 2));
}

TEST_F(SegBoxes, ABoxLeftOfTheImageHasNoWidth) {
    model_->letterboxInfo.dw = 40.0F;
    setScore(0, 3, 2.0F);
    EXPECT_EQ(decode().boxes.at(0), cv::Rect(0, 8, 0, 8));
}

TEST_F(SegBoxes, AScoreEqualToTheThresholdIsNoCandidate) {
    setScore(0, 0, 0.0F);
    EXPECT_EQ(decode(0.5F).count, 0);
    setScore(0, 0, std::nextafter(0.0F, 1.0F));
    EXPECT_EQ(decode(0.5F).count, 1);
}

TEST_F(SegBoxes, EqualScoresKeepTheLowerClass) {
    setScore(0, 2, 1.5F);
    setScore(1, 2, 1.5F);
    EXPECT_EQ(decode().classIds, std::vector<int>{0});
}

TEST_F(SegBoxes, CellsComeRowByRow) {
    setScore(0, 2, 1.0F);
    setScore(0, 1, 3.0F);
    const Candidates found = decode();
    EXPECT_EQ(found.maskCoefs, (std::vector<float>{2.0F, 3.0F}));
}

TEST_F(SegBoxes, ConfidenceZeroTakesEveryCellThatHasAClass) {
    EXPECT_EQ(decode(0.0F).count, 4);
    head_.score = floatTensor(std::vector<float>(8, -std::numeric_limits<float>::infinity()));
    EXPECT_EQ(decode(0.0F).count, 0);
    head_.score = floatTensor(std::vector<float>(8, std::numeric_limits<float>::quiet_NaN()));
    EXPECT_EQ(decode(0.0F).count, 0);
}

TEST_F(SegBoxes, ThresholdsOutsideTheProbabilitiesPassNothing) {
    setScore(0, 0, 50.0F);
    EXPECT_EQ(decode(2.0F).count, 0);
    EXPECT_EQ(decode(-1.0F).count, 0);
    EXPECT_EQ(decode(1.0F).count, 0);
}

TEST_F(SegBoxes, WithoutClassesNoCellPasses) {
    model_->classNum = 0;
    EXPECT_EQ(decode(0.0F).count, 0);
}

TEST_F(SegBoxes, ImpossibleGridsGiveNothing) {
    setScore(0, 0, 5.0F);
    const Head whole = head_;
    for (const int length : {0, -1, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        head_ = whole;
        head_.gridH = length;
        EXPECT_EQ(decode().count, 0) << length;
        head_ = whole;
        head_.gridW = length;
        EXPECT_EQ(decode().count, 0) << length;
    }
    head_ = whole;
    head_.dflLen = 0;
    EXPECT_EQ(decode().count, 0);
}

TEST_F(SegBoxes, ShortTensorsGiveNothing) {
    setScore(0, 0, 5.0F);
    const Head whole = head_;
    for (AIBuff Head::*tensor : {&Head::box, &Head::score, &Head::maskCoef}) {
        head_ = whole;
        (head_.*tensor).data = std::make_shared<std::vector<std::int8_t>>(*(whole.*tensor).data);
        (head_.*tensor).data->resize((head_.*tensor).data->size() - 4);
        EXPECT_EQ(decode().count, 0);
        (head_.*tensor).data = nullptr;
        EXPECT_EQ(decode().count, 0);
    }
}

TEST_F(SegBoxes, LogitsThatOverflowGiveAnEmptyBoxAtTheOrigin) {
    head_.box = floatTensor(std::vector<float>(4 * 2 * 4, 200.0F));
    setScore(0, 3, 2.0F);
    EXPECT_EQ(decode().boxes.at(0), cv::Rect(0, 0, 0, 0));
}

/// The same head in int8.
class SegBoxesInt8 : public ::testing::Test {
  protected:
    SegBoxesInt8() : model_(makeSegModel(true)) {
        model_->maskCoefCount = 1;
        box_.data->assign(4 * 2 * 4, 10);
        box_.zp = 10;
        box_.scale = 0.5F;
        score_.data->assign(2 * 4, -128);
        score_.zp = -8;
        score_.scale = 0.25F;
        maskCoef_.data->assign({127, -1, 0, 5});
    }

    Candidates decode(float threshold = 0.5F) {
        Candidates found{};
        found.count = model_->decodeBoxes_i8(box_, score_, maskCoef_, 2, 2, 0, 0, 8, 2, found.boxes,
                                             found.maskCoefs, found.scores, found.classIds, threshold);
        return found;
    }

    std::unique_ptr<YOLOv8Seg> model_;
    AIBuff box_, score_, maskCoef_;
};

TEST_F(SegBoxesInt8, ScoresAreComparedAsBytes) {
    // The threshold 0.5 is the zero point, -8.
    score_.data->at(3) = -8;
    EXPECT_EQ(decode().count, 0);
    score_.data->at(3) = -7;
    const Candidates found = decode();
    ASSERT_EQ(found.count, 1);
    EXPECT_EQ(found.scores.at(0), sigmoid(0.25F));
    EXPECT_EQ(found.boxes.at(0), cv::Rect(8, 8, 8, 8));
    EXPECT_EQ(found.maskCoefs, std::vector<float>{5.0F});
}

TEST_F(SegBoxesInt8, EqualScoresKeepTheLowerClass) {
    score_.data->at(0) = 20;
    score_.data->at(4) = 20;
    EXPECT_EQ(decode().classIds, std::vector<int>{0});
}

TEST_F(SegBoxesInt8, MaskCoefficientsWrapToEightBits) {
    maskCoef_.zp = -128;
    score_.data->assign(8, 100);
    const Candidates found = decode();
    EXPECT_EQ(found.maskCoefs, (std::vector<float>{-1.0F, 127.0F, -128.0F, -123.0F}));
}

TEST_F(SegBoxesInt8, TheLowestByteIsNeverTaken) {
    // Confidence 0 moves the threshold to the lowest byte.
    EXPECT_EQ(decode(0.0F).count, 0);
    score_.data->at(0) = -127;
    EXPECT_EQ(decode(0.0F).count, 1);
}

TEST_F(SegBoxesInt8, AThresholdAboveOneBecomesTheByteZero) {
    score_.data->at(0) = 0;
    score_.data->at(1) = 1;
    EXPECT_EQ(decode(2.0F).count, 1);
}

TEST_F(SegBoxesInt8, ShortTensorsGiveNothing) {
    score_.data->assign(8, 100);
    maskCoef_.data->pop_back();
    EXPECT_EQ(decode().count, 0);
}

}  // namespace
