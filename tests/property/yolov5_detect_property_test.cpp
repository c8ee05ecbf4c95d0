#include "property/comparison.h"
#include "property/random.h"
#include "reference/fused_boxes.h"
#include "reference/input_tensor.h"
#include "reference/letterbox.h"
#include "reference/tensor_building.h"
#include "support/capture_stdout.h"
#include "support/fake_engine.h"

#include "brellix/yolov5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using ai_orvo::model::AIBuff;
using ai_orvo::model::LetterboxInfo;
using ai_orvo::model::Object;
using ai_orvo::model::TensorMap;
using ai_orvo::model::YOLOv5;

int candidatesOf(const cv::Size& input) {
    int cells = 0;
    for (const int stride : {8, 16, 32}) {
        cells += (input.width / stride) * (input.height / stride);
    }
    return 3 * cells;
}

/// Boxes inside the network's input, a few of them probable.
AIBuff randomOutput(Random& random, const cv::Size& input, int classNum) {
    std::vector<float> values;
    for (int row = 0; row < candidatesOf(input); ++row) {
        values.push_back(random.real(0.0F, static_cast<float>(input.width)));
        values.push_back(random.real(0.0F, static_cast<float>(input.height)));
        values.push_back(random.real(1.0F, static_cast<float>(input.width) * 0.5F));
        values.push_back(random.real(1.0F, static_cast<float>(input.height) * 0.5F));
        for (int i = 0; i <= classNum; ++i) {
            values.push_back(random.real(0.0F, 1.0F));
        }
    }
    return reference::floatTensor(values);
}

/// Runs one picture through a model and holds what crossed the engine's border, and what came out, against
/// the references. \return how many objects came out.
std::size_t compareWithReference(Random& random, const cv::Size& input, const cv::Mat& image) {
    const int classNum = random.integer(1, 9);
    const AIBuff answer = randomOutput(random, input, classNum);
    FakeEngine& engine = FakeEngine::reset();
    engine.inference = [&](TensorMap&, TensorMap& outputs) {
        *outputs["output0"].data = *answer.data;
        return 0;
    };
    cv::Mat letterboxed;
    const LetterboxInfo info = reference::letterbox(image, letterboxed, input);
    const reference::FusedSettings settings{info, 0.7F, 0.45F, classNum, candidatesOf(input)};

    YOLOv5 model("network", "RKNN", input, settings.confThreshold, settings.nmsThreshold, classNum);
    std::vector<Object> objects;
    const std::string line = standardOutputOf([&] { model.detect(image, objects); });

    EXPECT_EQ(line, reference::letterboxLine(info));
    EXPECT_TRUE(sameLetterbox(model.letterbox_info, info));
    EXPECT_EQ(engine.inputs.size(), 1U);
    EXPECT_EQ(*engine.inputs.at(0).at("image").data, reference::floatBlob(letterboxed, true));
    EXPECT_EQ(engine.preparedOutputs.at(0).at("output0").data->size(), answer.data->size());
    EXPECT_TRUE(sameObjects(objects, reference::detectFused(settings, answer)));
    return objects.size();
}

TEST(Yolov5DetectProperty, APictureGivesTheTensorsAndObjectsOfTheReference) {
    Random random(31);
    std::size_t found = 0;
    for (int i = 0; i < 60; ++i) {
        const cv::Size input = random.oneOf(
            {cv::Size(64, 64), cv::Size(96, 64), cv::Size(64, 160), cv::Size(100, 75), cv::Size(33, 47)});
        const cv::Mat image = random.image({random.integer(20, 500), random.integer(20, 500)}, CV_8UC3);
        SCOPED_TRACE(::testing::Message() << "picture " << image.size() << " input " << input);
        found += compareWithReference(random, input, image);
    }
    EXPECT_GT(found, 500U);
}

TEST(Yolov5DetectProperty, APartOfAPictureIsReadWithItsOwnRowsOnly) {
    Random random(32);
    for (int i = 0; i < 20; ++i) {
        const cv::Mat parent = random.image({300, 200}, CV_8UC3);
        const cv::Rect part{random.integer(0, 100), random.integer(0, 60), random.integer(30, 200),
                            random.integer(30, 140)};
        SCOPED_TRACE(::testing::Message() << "part " << part);
        compareWithReference(random, {64, 64}, parent(part));
    }
}

TEST(Yolov5DetectProperty, WholeFactorsAndOtherTypesGiveTheTensorsOfTheReference) {
    Random random(34);
    for (const int factor : {2, 3, 4, 5}) {
        compareWithReference(random, {96, 64}, random.image({64 * factor, 64 * factor}, CV_8UC3));
        compareWithReference(random, {64, 64}, random.image({64 * factor, 40 * factor}, CV_8UC3));
    }
    compareWithReference(random, {64, 64}, random.image({70, 50}, CV_8UC1));
    compareWithReference(random, {64, 64}, random.image({50, 70}, CV_8UC4));
}

TEST(Yolov5DetectProperty, FramesDoNotLeakIntoEachOther) {
    // Memory is used again: what the last frame left must be overwritten or cleared, whatever its size was.
    Random random(35);
    for (int i = 0; i < 12; ++i) {
        compareWithReference(random, {64, 64}, random.image({random.integer(30, 200), 60}, CV_8UC3));
    }
    FakeEngine& engine = FakeEngine::reset();
    YOLOv5 model("network", "RKNN", {64, 64}, 0.0F, 0.45F, 2);
    std::vector<Object> objects;
    standardOutputOf([&] { model.detect(random.image({80, 60}, CV_8UC3), objects); });
    EXPECT_TRUE(objects.empty()) << "an engine that writes nothing finds nothing";
    const std::vector<std::int8_t>& prepared = *engine.preparedOutputs.at(0).at("output0").data;
    EXPECT_EQ(std::count(prepared.begin(), prepared.end(), 0), static_cast<std::ptrdiff_t>(prepared.size()));
}

TEST(Yolov5DetectProperty, AnEngineMayKeepTheTensorsOfAFrame) {
    Random random(36);
    std::vector<TensorMap> kept;
    std::vector<TensorMap> copies;
    FakeEngine& engine = FakeEngine::reset();
    engine.inference = [&](TensorMap& inputs, TensorMap& outputs) {
        outputs["output0"].data->assign(outputs["output0"].data->size(), 1);
        kept.insert(kept.end(), {inputs, outputs});
        copies.insert(copies.end(), {deepCopy(inputs), deepCopy(outputs)});
        return 0;
    };
    YOLOv5 model("network", "RKNN", {64, 64}, 0.5F, 0.45F, 2);
    for (int i = 0; i < 5; ++i) {
        std::vector<Object> objects;
        standardOutputOf([&] { model.detect(random.image({90, 60}, CV_8UC3), objects); });
    }
    for (std::size_t i = 0; i < kept.size(); ++i) {
        for (const auto& [name, tensor] : copies[i]) {
            EXPECT_EQ(*kept[i].at(name).data, *tensor.data) << name << " of map " << i;
        }
    }
}

TEST(Yolov5DetectProperty, APictureOfTheInputSizeIsNotTouched) {
    Random random(33);
    EXPECT_GT(compareWithReference(random, {128, 128}, random.image({128, 128}, CV_8UC3)), 5U);
}

}  // namespace
}  // namespace brellix::testing
