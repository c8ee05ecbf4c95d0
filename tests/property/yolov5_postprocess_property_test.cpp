#include "reference/fused_boxes.h"
#include "support/capture_stdout.h"
#include "support/comparison.h"
#include "support/fake_engine.h"
#include "support/model_settings.h"
#include "support/random.h"
#include "support/tensor_values.h"

#include "brellix/yolov5.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::LetterboxInfo;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;
using ai_orvo::model::YOLOv5;
using reference::FusedSettings;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();

/// A model whose settings every case replaces.
class Yolov5PostprocessProperty : public ::testing::Test {
  protected:
    Yolov5PostprocessProperty() { FakeEngine::reset(); }

    std::vector<Object> detectWith(const FusedSettings& settings, TensorMap& outputs) {
        applySettings(model_, settings);
        std::vector<Object> objects(2);  // what lies there has to go
        const std::string line = standardOutputOf([&] { model_.postprocess(outputs, objects); });
        EXPECT_EQ(line, reference::letterboxLine(settings.letterbox));
        return objects;
    }

    /// Compares one case. \return how many objects came out.
    std::size_t compareWithReference(const FusedSettings& settings, const AIBuff& output) {
        TensorMap outputs;
        outputs["output0"] = output;
        const std::vector<Object> objects = detectWith(settings, outputs);
        const std::vector<Object> candidates = reference::decodeFusedRows(settings, output);
        EXPECT_TRUE(isGreedySuppression(candidates, objects, settings.nmsThreshold));
        if (!hasTies(candidates)) {
            EXPECT_TRUE(sameObjects(objects, reference::detectFused(settings, output)));
            ++exact_;
        }
        return objects.size();
    }

    YOLOv5 model_{"network", "TensorRT", {64, 64}, 0.25F, 0.65F, 6};
    int exact_ = 0;
};

LetterboxInfo randomLetterbox(Random& random) {
    return {random.real(0.1F, 6.0F), random.oneOf({0.0F, 0.5F, 140.0F, random.real(0.0F, 300.0F)}),
            random.oneOf({0.0F, 0.5F, 140.0F, random.real(0.0F, 300.0F)}),
            static_cast<float>(random.integer(1, 3000)), static_cast<float>(random.integer(1, 3000))};
}

/// Rows with plausible boxes and probabilities; of all values the share `hostility` is hostile.
std::vector<float> randomRows(Random& random, std::int64_t count, std::int64_t length, double hostility) {
    std::vector<float> values;
    for (std::int64_t i = 0; i < count * length; ++i) {
        const std::int64_t column = i % length;
        if (random.chance(hostility)) {
            values.push_back(random.hostile());
        } else if (column < 4) {
            values.push_back(random.real(-50.0F, column < 2 ? 700.0F : 250.0F));
        } else {
            values.push_back(random.real(0.0F, 1.0F));
        }
    }
    return values;
}

FusedSettings randomSettings(Random& random) {
    FusedSettings settings;
    settings.letterbox = randomLetterbox(random);
    settings.confThreshold = random.oneOf({0.0F, 0.1F, 0.25F, 0.5F, 0.8F});
    settings.nmsThreshold = random.oneOf({0.0F, 0.1F, 0.45F, 0.65F, 1.0F});
    settings.classNum = random.oneOf({1, 2, 3, 6, 20, 80, random.integer(1, 80)});
    settings.numCandidates = random.integer(0, 60);
    return settings;
}

TEST_F(Yolov5PostprocessProperty, PlausibleTensorsGiveTheObjectsOfTheReference) {
    Random random(21);
    std::size_t found = 0;
    for (int i = 0; i < 300; ++i) {
        const FusedSettings settings = randomSettings(random);
        const auto rows = randomRows(random, settings.numCandidates, settings.classNum + 5, 0.0);
        found += compareWithReference(settings, floatTensor(rows));
        ASSERT_FALSE(HasFailure()) << "case " << i;
    }
    EXPECT_GT(found, 1000U);
    EXPECT_GT(exact_, 280);
}

TEST_F(Yolov5PostprocessProperty, HostileValuesGiveTheObjectsOfTheReference) {
    Random random(22);
    std::size_t found = 0;
    for (int i = 0; i < 300; ++i) {
        FusedSettings settings = randomSettings(random);
        settings.confThreshold = random.oneOf({0.1F, 0.25F, 0.0F, -1.0F, 1.5F, kNan, kInf, -kInf});
        settings.nmsThreshold = random.oneOf({0.45F, 0.0F, -1.0F, 2.0F, kNan, -kInf});
        settings.classNum = random.oneOf({0, 1, 2, 5, 80});
        const double hostility = random.oneOf({0.02, 0.2, 1.0});
        const auto rows = randomRows(random, settings.numCandidates, settings.classNum + 5, hostility);
        found += compareWithReference(settings, floatTensor(rows));
        ASSERT_FALSE(HasFailure()) << "case " << i;
    }
    EXPECT_GT(found, 500U);
    EXPECT_GT(exact_, 100);
}

TEST_F(Yolov5PostprocessProperty, HostileLetterboxRecordsGiveTheObjectsOfTheReference) {
    Random random(23);
    std::size_t found = 0;
    for (int i = 0; i < 200; ++i) {
        FusedSettings settings = randomSettings(random);
        settings.letterbox.ratio = random.oneOf({kNan, kInf, -1.0F, 0.0F, 1e30F, settings.letterbox.ratio});
        settings.letterbox.dw = random.oneOf({kNan, -kInf, -20.0F, settings.letterbox.dw});
        settings.letterbox.dh = random.oneOf({kNan, kInf, 1e30F, settings.letterbox.dh});
        settings.letterbox.src_width = random.oneOf({0.0F, -5.0F, settings.letterbox.src_width});
        const auto rows = randomRows(random, settings.numCandidates, settings.classNum + 5, 0.01);
        found += compareWithReference(settings, floatTensor(rows));
        ASSERT_FALSE(HasFailure()) << "case " << i;
    }
    EXPECT_GT(found, 500U);
}

TEST_F(Yolov5PostprocessProperty, CornersAreRoundedToFloatBeforeTheyAreTruncated) {
    // A whole centre less half of almost nothing: single precision gives the centre, double what lies below.
    Random random(27);
    FusedSettings settings;
    settings.letterbox = {1.0F, 0.0F, 0.0F, 4000.0F, 4000.0F};
    settings.classNum = 1;
    settings.numCandidates = 300;
    std::vector<float> rows;
    for (int i = 0; i < settings.numCandidates; ++i) {
        const auto whole = [&] { return static_cast<float>(random.integer(256, 4000)); };
        const auto tiny = [&] { return random.real(1e-6F, 1e-4F); };
        rows.insert(rows.end(), {whole(), whole(), tiny(), tiny(), random.real(0.3F, 1.0F), 0.9F});
    }
    EXPECT_EQ(compareWithReference(settings, floatTensor(rows)), 300U);
}

TEST_F(Yolov5PostprocessProperty, BuffersOfAnotherLengthGiveTheRowsInside) {
    Random random(24);
    std::size_t found = 0;
    for (int i = 0; i < 200; ++i) {
        FusedSettings settings = randomSettings(random);
        settings.confThreshold = 0.1F;
        const int rowsInside = random.integer(0, 30);
        AIBuff output = floatTensor(randomRows(random, rowsInside, settings.classNum + 5, 0.0));
        const auto cut = static_cast<std::size_t>(random.integer(0, 9));
        output.data->resize(output.data->size() > cut ? output.data->size() - cut : 0);
        settings.numCandidates =
            random.oneOf({0, rowsInside / 2, rowsInside, rowsInside + 1, 1000, kIntMax, -1, kIntMin});
        found += compareWithReference(settings, output);
        ASSERT_FALSE(HasFailure()) << "case " << i;
    }
    EXPECT_GT(found, 300U);
}

TEST_F(Yolov5PostprocessProperty, ImpossibleClassCountsDoNoHarm) {
    Random random(25);
    for (const int classNum : {-1, -2, -4, -5, -6, -7, -1000, kIntMin, kIntMax, kIntMax - 5, 1 << 29}) {
        FusedSettings settings = randomSettings(random);
        settings.classNum = classNum;
        settings.numCandidates = random.oneOf({1, 50, kIntMax});
        settings.confThreshold = random.oneOf({0.0F, 0.25F, kNan});
        const AIBuff output = floatTensor(randomRows(random, 40, 7, 0.0));
        EXPECT_EQ(compareWithReference(settings, output), 0U) << "classes " << classNum;
    }
}

TEST_F(Yolov5PostprocessProperty, NoDataAndNoNameGiveNoObjects) {
    FusedSettings settings;
    settings.numCandidates = 100;
    settings.confThreshold = -1.0F;
    AIBuff null;
    null.data = nullptr;
    EXPECT_EQ(compareWithReference(settings, null), 0U);
    EXPECT_EQ(compareWithReference(settings, AIBuff()), 0U);

    TensorMap outputs;
    outputs["output1"] = floatTensor(std::vector<float>(8500, 0.9F));
    EXPECT_TRUE(detectWith(settings, outputs).empty());
    ASSERT_EQ(outputs.count("output0"), 1U);
    EXPECT_TRUE(outputs["output0"].data->empty());
}

TEST_F(Yolov5PostprocessProperty, AFullOutputGivesTheObjectsOfTheReference) {
    Random random(26);
    FusedSettings settings;
    settings.letterbox = {2.0F, 0.0F, 140.0F, 720.0F, 1280.0F};
    settings.confThreshold = 0.9F;
    settings.numCandidates = 25200;
    const auto rows = randomRows(random, settings.numCandidates, 85, 0.0);
    EXPECT_GT(compareWithReference(settings, floatTensor(rows)), 1000U);
}

}  // namespace
}  // namespace brellix::testing
