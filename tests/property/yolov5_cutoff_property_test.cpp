#include "reference/cutoff_boxes.h"
#include "support/capture_stdout.h"
#include "support/comparison.h"
#include "support/fake_engine.h"
#include "support/model_settings.h"
#include "support/random.h"
#include "support/tensor_values.h"

#include "brellix/yolov5_cutoff.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;
using ai_orvo::model::YOLOv5Cutoff;
using reference::CutoffSettings;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();

CutoffSettings randomSettings(Random& random) {
    CutoffSettings settings;
    settings.inputSize = {random.integer(8, 90), random.integer(8, 90)};
    settings.letterbox = {random.real(0.2F, 6.0F), random.oneOf({0.0F, 0.5F, random.real(0.0F, 40.0F)}),
                          random.oneOf({0.0F, 0.5F, random.real(0.0F, 40.0F)}),
                          static_cast<float>(random.integer(1, 500)),
                          static_cast<float>(random.integer(1, 500))};
    settings.confThreshold = random.oneOf({0.05F, 0.25F, 0.5F, 0.7F, random.real(0.0F, 1.0F)});
    settings.nmsThreshold = random.oneOf({0.0F, 0.2F, 0.45F, 0.65F});
    settings.classNum = random.oneOf({1, 2, 6, 80});
    settings.channelsPerAnchor = settings.classNum + 5;
    return settings;
}

std::size_t headBytes(const CutoffSettings& settings, int head) {
    const int stride = reference::kCutoffStrides[head];
    return static_cast<std::size_t>(3 * settings.channelsPerAnchor * (settings.inputSize.width / stride) *
                                    (settings.inputSize.height / stride));
}

AIBuff randomHead(Random& random, const CutoffSettings& settings, int head) {
    const std::vector<std::int8_t> bytes = random.bytes(headBytes(settings, head));
    const int zeroPoint = random.integer(-60, 60);
    return int8Tensor(bytes, zeroPoint, random.real(0.01F, 0.1F));
}

class Yolov5CutoffProperty : public ::testing::Test {
  protected:
    /// Compares one head. \return how many objects were appended.
    std::size_t compareHead(const CutoffSettings& settings, AIBuff output, int head) {
        applySettings(model_, settings);
        std::vector<Object> objects(1);  // stays, the head's objects come behind
        std::vector<Object> expected(1);
        const int count = model_.decodeBoxes(output, head, objects);
        EXPECT_EQ(count, reference::decodeCutoffHead(settings, output, head, expected));
        EXPECT_TRUE(sameObjects(objects, expected));
        return objects.size() - 1;
    }

    YOLOv5Cutoff model_{"network", "TensorRT", {64, 64}, 0.25F, 0.65F, 6};
};

TEST_F(Yolov5CutoffProperty, RandomHeadsGiveTheObjectsOfTheReference) {
    Random random(81);
    std::size_t found = 0;
    for (int i = 0; i < 300; ++i) {
        const CutoffSettings settings = randomSettings(random);
        const int head = random.integer(0, 2);
        found += compareHead(settings, randomHead(random, settings, head), head);
        ASSERT_FALSE(HasFailure()) << "case " << i;
    }
    EXPECT_GT(found, 2000U);
}

TEST_F(Yolov5CutoffProperty, EqualScoresGiveTheLowestClassHoweverManyThereAre) {
    Random random(84);
    std::size_t found = 0;
    for (int i = 0; i < 60; ++i) {
        CutoffSettings settings = randomSettings(random);
        settings.confThreshold = 0.25F;
        settings.classNum = random.oneOf({1, 2, 80, 255, 256, 257, 300});
        settings.channelsPerAnchor = settings.classNum + random.oneOf({5, 5, 7});
        AIBuff output = randomHead(random, settings, 0);
        const std::int8_t step = random.oneOf<std::int8_t>({127, 50, 1});
        for (std::int8_t& byte : *output.data) {
            byte = static_cast<std::int8_t>(byte / step * step);
        }
        found += compareHead(settings, output, 0);
        ASSERT_FALSE(HasFailure()) << "case " << i << " with " << settings.classNum << " classes";
    }
    EXPECT_GT(found, 2000U);
}

TEST_F(Yolov5CutoffProperty, HostileSettingsGiveTheObjectsOfTheReference) {
    Random random(82);
    std::size_t found = 0;
    for (int i = 0; i < 500; ++i) {
        CutoffSettings settings = randomSettings(random);
        settings.confThreshold = random.oneOf({-1.0F, 0.0F, 0.25F, 1.0F, 2.0F, kNan});
        settings.letterbox.ratio = random.oneOf({kNan, -1.0F, 1e30F, settings.letterbox.ratio});
        settings.letterbox.dw = random.oneOf({kNan, 1e30F, settings.letterbox.dw});
        settings.letterbox.src_height = random.oneOf({0.0F, -2.0F, settings.letterbox.src_height});
        const int head = random.integer(0, 2);
        AIBuff output = randomHead(random, settings, head);
        output.zp = random.oneOf({output.zp, 0, 1000, kIntMin, kIntMax});
        output.scale = random.oneOf({output.scale, 0.0F, -0.05F, random.hostile()});
        found += compareHead(settings, output, head);
        ASSERT_FALSE(HasFailure()) << "case " << i;
    }
    EXPECT_GT(found, 2000U);
}

TEST_F(Yolov5CutoffProperty, OtherHeadsAndShortBuffersGiveNothing) {
    Random random(83);
    for (int i = 0; i < 100; ++i) {
        CutoffSettings settings = randomSettings(random);
        settings.inputSize = {random.integer(32, 90), random.integer(32, 90)};
        settings.confThreshold = 0.0F;
        const int head = random.integer(0, 2);
        AIBuff output = randomHead(random, settings, head);
        EXPECT_EQ(compareHead(settings, output, random.oneOf({-1, 3, kIntMin, kIntMax})), 0U);
        output.data->pop_back();
        EXPECT_EQ(compareHead(settings, output, head), 0U);
        output.data = nullptr;
        EXPECT_EQ(compareHead(settings, output, head), 0U);
        settings.inputSize = {random.oneOf({-64, 0, 7, kIntMin}), kIntMax};
        EXPECT_EQ(compareHead(settings, randomHead(random, randomSettings(random), head), head), 0U);
        ASSERT_FALSE(HasFailure()) << "case " << i;
    }
}

TEST_F(Yolov5CutoffProperty, WithoutClassesTheFirstClassByteIsReadWhereThereIsOne) {
    Random random(84);
    CutoffSettings settings = randomSettings(random);
    settings.inputSize = {64, 64};
    settings.confThreshold = 0.3F;
    settings.classNum = 0;
    settings.channelsPerAnchor = 5;
    AIBuff output = int8Tensor(random.bytes(3 * 6 * 64), 0, 0.05F);  // longer than it has to be
    EXPECT_GT(compareHead(settings, output, 0), 10U);
    output.data->resize(3 * 5 * 64);
    applySettings(model_, settings);
    std::vector<Object> objects;
    std::vector<Object> expected;
    EXPECT_EQ(model_.decodeBoxes(output, 0, objects),
              reference::decodeCutoffHead(settings, output, 0, expected));
}

TEST_F(Yolov5CutoffProperty, ThreeHeadsGiveOneOfTheGreedyResultsSilently) {
    Random random(85);
    std::size_t found = 0;
    std::size_t suppressed = 0;
    for (int i = 0; i < 100; ++i) {
        CutoffSettings settings = randomSettings(random);
        settings.confThreshold = 0.6F;
        applySettings(model_, settings);
        TensorMap outputs;
        for (int head = 0; head < 3; ++head) {
            if (random.chance(0.9)) {
                outputs[reference::kCutoffHeadNames[static_cast<std::size_t>(head)]] =
                    randomHead(random, settings, head);
            }
        }
        const std::vector<Object> candidates = reference::decodeCutoffHeads(settings, outputs);
        std::vector<Object> objects(2);
        const std::string printed = standardOutputOf([&] { model_.postprocess(outputs, objects); });
        ASSERT_EQ(printed, "");
        ASSERT_EQ(outputs.size(), 3U);
        ASSERT_TRUE(isGreedySuppression(candidates, objects, settings.nmsThreshold)) << "case " << i;
        found += objects.size();
        suppressed += candidates.size() - objects.size();
    }
    EXPECT_GT(found, 500U);
    EXPECT_GT(suppressed, 500U);
}

}  // namespace
}  // namespace brellix::testing
