#include "reference/dfl.h"
#include "reference/seg_boxes.h"
#include "support/comparison.h"
#include "support/fake_engine.h"
#include "support/random.h"
#include "support/yolov8_seg_heads.h"
#include "support/yolov8_seg_tensors.h"

#include "brellix/yolov8_seg.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::TensorMap;
using ai_orvo::model::YOLOv8Seg;
using reference::SegCandidates;
using reference::SegSettings;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();

SegHeadCase headCase(const SegSettings& settings, TensorMap& outputs, std::size_t head) {
    const auto tensor = [&](std::size_t part) { return outputs["output" + std::to_string(3 * head + part)]; };
    return {tensor(0),
            tensor(1),
            tensor(2),
            settings.grids[head].height,
            settings.grids[head].width,
            settings.strides[head],
            settings.dflLen};
}

/// Decodes one head with both. \return how many candidates were appended.
int compareHead(YOLOv8Seg& model, const SegSettings& settings, SegHeadCase& head) {
    SegCandidates actual;
    SegCandidates expected;
    const int count = decodeSegHead(model, settings, head, actual);
    EXPECT_EQ(count, decodeSegHeadPlainly(settings, head, expected));
    EXPECT_TRUE(sameCandidates(actual, expected));
    return count;
}

/// Once with float tensors, once with 8-bit ones.
class Yolov8SegBoxesProperty : public ::testing::TestWithParam<bool> {
  protected:
    Yolov8SegBoxesProperty() { FakeEngine::reset(); }
};

TEST_P(Yolov8SegBoxesProperty, RandomHeadsGiveTheCandidatesOfTheReference) {
    Random random(91);
    int found = 0;
    for (int i = 0; i < 120; ++i) {
        const SegSettings settings = randomSegSettings(random, GetParam());
        TensorMap outputs = randomSegOutputs(random, settings);
        YOLOv8Seg model(segConfig(settings));
        applySettings(model, settings);
        SegHeadCase head = headCase(settings, outputs, static_cast<std::size_t>(random.integer(0, 2)));
        found += compareHead(model, settings, head);
        ASSERT_FALSE(HasFailure()) << "case " << i;
    }
    EXPECT_GT(found, 500);
}

TEST_P(Yolov8SegBoxesProperty, HostileValuesAndSettingsGiveTheCandidatesOfTheReference) {
    Random random(92);
    int found = 0;
    for (int i = 0; i < 200; ++i) {
        SegSettings settings = randomSegSettings(random, GetParam());
        TensorMap outputs = randomSegOutputs(random, settings);
        settings.confThreshold = random.oneOf({0.3F, 0.0F, 1.0F, -1.0F, 2.0F, kNan});
        settings.letterbox.ratio = random.oneOf({settings.letterbox.ratio, kNan, -1.0F, 1e30F});
        settings.letterbox.dw = random.oneOf({settings.letterbox.dw, kNan, -1e30F});
        settings.letterbox.src_width = random.oneOf({settings.letterbox.src_width, 0.0F, -3.0F});
        SegHeadCase head = headCase(settings, outputs, static_cast<std::size_t>(random.integer(0, 2)));
        for (AIBuff* tensor : {&head.box, &head.score, &head.maskCoef}) {
            tensor->zp = random.oneOf({tensor->zp, tensor->zp, 1000, kIntMin, kIntMax});
            tensor->scale = random.oneOf({tensor->scale, tensor->scale, 0.0F, -0.1F, random.hostile()});
            if (!settings.isQuantized) {
                for (std::size_t e = 0; e < tensor->data->size() / sizeof(float); e += 7) {
                    const float value = random.hostile();
                    std::memcpy(tensor->data->data() + e * sizeof(float), &value, sizeof(value));
                }
            }
        }
        head.stride = random.oneOf({head.stride, 0, -8, kIntMax});
        YOLOv8Seg model(segConfig(settings));
        applySettings(model, settings);
        found += compareHead(model, settings, head);
        ASSERT_FALSE(HasFailure()) << "case " << i;
    }
    EXPECT_GT(found, 500);
}

TEST_P(Yolov8SegBoxesProperty, ShortTensorsAndImpossibleDimensionsGiveNothing) {
    Random random(93);
    for (int i = 0; i < 100; ++i) {
        SegSettings settings = randomSegSettings(random, GetParam());
        settings.confThreshold = 0.0F;
        TensorMap outputs = randomSegOutputs(random, settings);
        SegHeadCase head = headCase(settings, outputs, 1);
        YOLOv8Seg model(segConfig(settings));
        applySettings(model, settings);
        ASSERT_GT(compareHead(model, settings, head), 0);
        switch (random.integer(0, 6)) {
            case 0:
                head.box.data->pop_back();
                break;
            case 1:
                head.score.data->pop_back();
                break;
            case 2:
                head.maskCoef.data->pop_back();
                break;
            case 3:
                head.maskCoef.data = nullptr;
                break;
            case 4:
                head.gridH = random.oneOf({0, -1, kIntMin, kIntMax});
                break;
            case 5:
                head.gridW = random.oneOf({0, -1, kIntMin, kIntMax});
                break;
            default:
                head.dflLen = random.oneOf({0, -1, kIntMin, kIntMax});
                break;
        }
        EXPECT_EQ(compareHead(model, settings, head), 0) << "case " << i;
    }
}

TEST_P(Yolov8SegBoxesProperty, PrototypesGiveTheMatrixOfTheReference) {
    Random random(94);
    for (int i = 0; i < 40; ++i) {
        const SegSettings settings = randomSegSettings(random, GetParam());
        TensorMap outputs = randomSegOutputs(random, settings);
        AIBuff& proto = outputs["proto"];
        proto.zp = random.oneOf({proto.zp, -128, 127, kIntMin, kIntMax});
        YOLOv8Seg model(segConfig(settings));
        EXPECT_TRUE(sameImage(prototypesOf(model, settings, proto), prototypesPlainly(settings, proto)));
    }
}

INSTANTIATE_TEST_SUITE_P(FloatAndInt8, Yolov8SegBoxesProperty, ::testing::Bool(),
                         [](const auto& suite) { return suite.param ? "Int8" : "Float"; });

TEST(DflProperty, LogitsGiveTheBitsOfTheReference) {
    Random random(95);
    for (int i = 0; i < 2000; ++i) {
        const int dflLen = random.oneOf({16, 16, 1, 2, 7, 0, -1});
        std::vector<float> logits(static_cast<std::size_t>(dflLen > 0 ? 4 * dflLen : 4));
        for (float& logit : logits) {
            logit = random.chance(0.02) ? random.hostile() : random.real(-12.0F, 12.0F);
        }
        std::array<float, 4> actual = {-1.0F, -2.0F, -3.0F, -4.0F};
        std::array<float, 4> expected = actual;
        ai_orvo::model::computeDfl(logits, dflLen, actual.data());
        reference::computeDfl(logits, dflLen, expected.data());
        ASSERT_TRUE(sameFloats(actual.data(), expected.data(), 4)) << "case " << i;
        if (dflLen > 0) {
            logits.pop_back();
            ASSERT_THROW(ai_orvo::model::computeDfl(logits, dflLen, actual.data()), std::out_of_range);
        }
    }
}

}  // namespace
}  // namespace brellix::testing
